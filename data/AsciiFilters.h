// Case mapping as a stage of a pipeline.
//
// Apart from Ascii.h, so that who only maps or compares text needs no pipeline.
#pragma once

#include "data/DataFilter.h"

namespace Ascii {

// Maps byte by byte, so it holds nothing back: it is always flushed.
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

// The one shared instance of each, there from before `main` to the exit of the process. It has no
// state, so that any number of stages can use it at a time.
CaseRaisingFilter& RaiseCase();
CaseLoweringFilter& LowerCase();

} // namespace Ascii
