// Classes, templates and functions with names of the foundation library, but other meanings.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

class Buffer {
public:
    Buffer(std::string const& name, double weight) : name(name), weight(weight) {}
    virtual ~Buffer() = default;
    virtual std::string Name() const { return name; }

    std::string name;
    double weight;
    long padding[20] = {};
};

// Thrown here. The library has an exception of this name.
class DataOverflow : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class ClientComplianceResponseItem {
public:
    int numbers[50] = {};
};

template <class T>
struct NullOr {
    std::shared_ptr<T> value;
    std::string Describe() const { return value ? "ours " + value->Name() : "ours, none"; }
};

inline std::string StringPL(int number) { return "our StringPL " + std::to_string(number); }

inline std::vector<int>& FileName() {
    static std::vector<int> numbers;
    return numbers;
}

// Defined in SecondSource.cpp.
void CreateFile(std::string const& name);
NullOr<Buffer> FileLocation(int number);
std::size_t GrowResponseItems(std::size_t count);
