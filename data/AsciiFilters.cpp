#include "data/AsciiFilters.h"

#include "data/Ascii.h"
#include "data/Buffer.h"

namespace Ascii {

namespace {

// Constructs both instances before `main`, so no later call constructs one.
[[maybe_unused]] bool const madeAtStartup = [] {
    LowerCase();
    RaiseCase();
    return true;
}();

} // namespace

void CaseRaisingFilter::operator()(ConstBuffer& source, Buffer& target) {
    RaiseCase(source, target);
}

void CaseLoweringFilter::operator()(ConstBuffer& source, Buffer& target) {
    LowerCase(source, target);
}

CaseRaisingFilter& RaiseCase() {
    static CaseRaisingFilter filter;
    return filter;
}

CaseLoweringFilter& LowerCase() {
    static CaseLoweringFilter filter;
    return filter;
}

} // namespace Ascii
