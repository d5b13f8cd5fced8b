// Records the events of an XML document as texts in an unambiguous format, one for each event.
#pragma once

#include <stdexcept>

#include "xml/XMLHandler.h"

// For example: S(3)tag(2)id(1)7 for <tag id="7">. Each part is preceded by its length, so names and
// texts may contain any byte.
class EventLog : public XMLHandler {
public:
    // The handler throws this instead of recording the event with that number.
    struct Refusal : std::runtime_error {
        Refusal() : std::runtime_error("refused") {}
    };

    EventLog() = default;
    explicit EventLog(std::size_t eventToRefuse) : refused(eventToRefuse) {}

    void StartElement(std::string const& name,
                      std::vector<XMLAttribute const*> const& attributes) override {
        Add("S" + Part(name) + Parts(attributes));
    }
    void EndElement(std::string const& name) override { Add("E" + Part(name)); }
    void Characters(std::string const& text) override { Add("C" + Part(text)); }
    void
    DoProcessingInstructionElement(std::string const& name,
                                   std::vector<XMLAttribute const*> const& attributes) override {
        Add("P" + Part(name) + Parts(attributes));
    }

    std::vector<std::string> events;

private:
    void Add(std::string event) {
        if (events.size() + refusals == refused) {
            ++refusals;
            throw Refusal();
        }
        events.push_back(std::move(event));
    }

    static std::string Part(std::string const& text) {
        return "(" + std::to_string(text.size()) + ")" + text;
    }

    static std::string Parts(std::vector<XMLAttribute const*> const& attributes) {
        std::string all;
        for (XMLAttribute const* attribute : attributes)
            all += Part(attribute->first) + Part(attribute->second);
        return all;
    }

    std::size_t refused = static_cast<std::size_t>(-1);
    std::size_t refusals = 0;
};
