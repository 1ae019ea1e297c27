#ifndef ORVEX_EovCore_hxx_seen
#define ORVEX_EovCore_hxx_seen

#include <exception>

namespace ORVEX {
    class EovCore;
}

/// The root of every exception of the software family.  The text that
/// what() returns is built by the constructor chain: EovCore writes its own
/// name and each derived class appends its name after it, separated by
/// "::", so the text reads from the root downwards.
class ORVEX::EovCore : public std::exception {
public:
    EovCore();
    EovCore(const EovCore& rhs);
    virtual ~EovCore() throw();
    virtual const char* what() const throw();

    /// How many stack frames a host back-trace would show; kept for the
    /// contract, the stand-in records no back-trace.
    static unsigned int gBacktraceSymbols;

protected:
    void AppendWhat(const char* child);

private:
    char fWhat[2048];
};

/// Declare an exception class `name` derived from `base`: no data of its
/// own, and a default constructor that appends its own name after the base
/// constructor has run.  The copy constructor keeps the text as it is.
#define ORVEX_EXCEPTION(name, base)          \
    class name : public base {               \
    public:                                  \
        name() { AppendWhat(#name); }        \
        name(const name& rhs) : base(rhs) {} \
        virtual ~name() throw() {}           \
    }

#endif
