#ifndef ORVEX_EovUtility_hxx_seen
#define ORVEX_EovUtility_hxx_seen

#include <EovCore.hxx>

namespace ORVEX {
    /// The root of every exception that this library throws by itself.
    /// Each family declares its own classes below it with ORVEX_EXCEPTION.
    ORVEX_EXCEPTION(EovUtility, EovCore);
}

#endif
