// Case mapping as data filters.
//
// Not in Ascii.h, so that code which only maps or compares text does not include DataFilter.h.
#pragma once

#include "data/DataFilter.h"

namespace Ascii {

// Maps byte by byte and is always flushed.
class CaseRaisingFilter : public DataFilter {
public:
    using DataFilter::operator();
    void operator()(ConstBuffer& source, Buffer& target) override;
};

class CaseLoweringFilter : public DataFilter {
public:
    using DataFilter::operator();
    void operator()(ConstBuffer& source, Buffer& target) override;
};

// Return the shared instance, which exists from before `main` until static objects are destroyed.
// The filters have no state, so any number of stages can share one.
CaseRaisingFilter& RaiseCase();
CaseLoweringFilter& LowerCase();

} // namespace Ascii
