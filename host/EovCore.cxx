#include "EovCore.hxx"

#include <cstring>

unsigned int ORVEX::EovCore::gBacktraceSymbols = 0;

ORVEX::EovCore::EovCore() {
    std::strncpy(fWhat, "EovCore", sizeof(fWhat));
    fWhat[sizeof(fWhat) - 1] = 0;
}

ORVEX::EovCore::EovCore(const EovCore& rhs) : std::exception(rhs) {
    std::memcpy(fWhat, rhs.fWhat, sizeof(fWhat));
}

ORVEX::EovCore::~EovCore() throw() {}

const char* ORVEX::EovCore::what() const throw() {
    return fWhat;
}

void ORVEX::EovCore::AppendWhat(const char* child) {
    // Silently truncated at the buffer's end: an exception text must never
    // itself fail.
    std::size_t used = std::strlen(fWhat);
    std::size_t room = sizeof(fWhat) - 1 - used;
    std::strncat(fWhat, "::", room);
    room = sizeof(fWhat) - 1 - std::strlen(fWhat);
    std::strncat(fWhat, child, room);
}
