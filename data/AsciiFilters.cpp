#include "data/AsciiFilters.h"

#include "data/Ascii.h"
#include "data/Buffer.h"

namespace Ascii {

namespace {

// Makes both instances before `main`, so before there is a second thread.
// NOLINTNEXTLINE(cert-err58-cpp): the filters have no state, so nothing throws
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
