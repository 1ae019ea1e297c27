#ifndef ORVEX_IORVEXLog_hxx_seen
#define ORVEX_IORVEXLog_hxx_seen

#include <iostream>
#include <map>
#include <string>

namespace ORVEX {
    class IORVEXLog;
}

/// The host's log: static state only, no object is ever made.  Error-type
/// lines (error, severe, warning) go to the debug stream, information lines
/// to the log stream.  The priority tests of the log macros read the two
/// global priorities; the per-name trace tables are kept for the contract.
class ORVEX::IORVEXLog {
public:
    typedef enum {
        SilentLevel = 0,
        ErrorLevel,
        SevereLevel,
        WarnLevel,
        DebugLevel,
        TraceLevel
    } ErrorPriority;

    typedef enum { QuietLevel = 0, LogLevel, InfoLevel, VerboseLevel } LogPriority;

    static ErrorPriority GetDebugLevel() { return fErrorPriority; }
    static LogPriority GetLogLevel() { return fLogPriority; }
    static ErrorPriority GetDebugLevel(const char* trace);
    static LogPriority GetLogLevel(const char* trace);

    static void SetDebugLevel(ErrorPriority level) { fErrorPriority = level; }
    static void SetLogLevel(LogPriority level) { fLogPriority = level; }
    static void SetDebugLevel(const char* trace, ErrorPriority level);
    static void SetLogLevel(const char* trace, LogPriority level);

    static std::ostream& GetDebugStream() { return *fDebugStream; }
    static std::ostream& GetLogStream() { return *fLogStream; }
    /// A null stream restores the default (std::cerr, std::cout).
    static void SetDebugStream(std::ostream* stream);
    static void SetLogStream(std::ostream* stream);

    /// Two blanks for each level of indentation.
    static std::string MakeIndent();
    static void SetIndentation(int level);
    static void IncreaseIndentation() { ++fIndentation; }
    static void DecreaseIndentation();
    static void ResetIndentation() { fIndentation = 0; }

    /// Read "debug.NAME: LEVEL" / "log.NAME: LEVEL" lines and the global
    /// "debug: LEVEL" / "log: LEVEL" settings from a file.  Returns false
    /// when the file can't be read.
    static bool Configure(const char* file);

private:
    IORVEXLog();

    static ErrorPriority fErrorPriority;
    static LogPriority fLogPriority;
    static std::ostream* fDebugStream;
    static std::ostream* fLogStream;
    static std::map<std::string, ErrorPriority> fErrorTraces;
    static std::map<std::string, LogPriority> fLogTraces;
    static int fIndentation;
};

// One log statement: keep the stream's format flags, write the line with
// the values streamed as they come, reset precision, width and fill, end the
// line, then restore the kept flags.  A manipulator used inside one
// statement therefore never leaks into the next.
#define ORVEX_LOG_STATEMENT_(stream, line)                           \
    do {                                                             \
        std::ostream& orvexLogStream_ = (stream);                    \
        std::ios::fmtflags orvexLogFlags_ = orvexLogStream_.flags(); \
        orvexLogStream_ << line;                                     \
        orvexLogStream_.precision(6);                                \
        orvexLogStream_.width(0);                                    \
        orvexLogStream_.fill(' ');                                   \
        orvexLogStream_ << std::endl;                                \
        orvexLogStream_.flags(orvexLogFlags_);                       \
    } while (0)

#define ORVEX_DEBUG_LINE_(kind, text)                        \
    ORVEX_LOG_STATEMENT_(ORVEX::IORVEXLog::GetDebugStream(), \
                         kind << __FILE__ << ":" << __LINE__ << ": " << text)

/// Always written, whatever the priority.
#define ORVEXError(text) ORVEX_DEBUG_LINE_("ERROR: ", text)

#define ORVEXSevere(text)                                                       \
    do {                                                                        \
        if (ORVEX::IORVEXLog::GetDebugLevel() >= ORVEX::IORVEXLog::SevereLevel) \
            ORVEX_DEBUG_LINE_("SEVERE: ", text);                                \
    } while (0)

#define ORVEXWarn(text)                                                       \
    do {                                                                      \
        if (ORVEX::IORVEXLog::GetDebugLevel() >= ORVEX::IORVEXLog::WarnLevel) \
            ORVEX_DEBUG_LINE_("WARNING: ", text);                             \
    } while (0)

#define ORVEXInfo(text)                                                            \
    do {                                                                           \
        if (ORVEX::IORVEXLog::GetLogLevel() >= ORVEX::IORVEXLog::InfoLevel)        \
            ORVEX_LOG_STATEMENT_(ORVEX::IORVEXLog::GetLogStream(),                 \
                                 "%% " << ORVEX::IORVEXLog::MakeIndent() << text); \
    } while (0)

#endif
