#include "data/DataFilter.h"

#include "data/Buffer.h"

constinit DataFilter DataFilter::copy;

DataFilter::~DataFilter() = default;

void DataFilter::operator()(ConstBuffer& source, Buffer& target) { target << source; }

bool DataFilter::Flushed() const { return true; }

void DataFilter::Flush(Buffer&) {}

void DataFilter::operator()(ConstData source, Data target) {
    if (source.IsEmpty() || target.IsEmpty())
        return;
    ConstBuffer sourceBuffer(source);
    Buffer targetBuffer(target);
    (*this)(sourceBuffer, targetBuffer);
}

void DataFilter::operator()(ConstData source, Buffer& target) {
    if (source.IsEmpty())
        return;
    ConstBuffer sourceBuffer(source);
    (*this)(sourceBuffer, target);
}

void DataFilter::operator()(ConstBuffer& source, Data target) {
    if (target.IsEmpty())
        return;
    Buffer targetBuffer(target);
    (*this)(source, targetBuffer);
}
