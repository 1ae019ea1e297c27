#include "IORVEXLog.hxx"

#include <fstream>
#include <sstream>

ORVEX::IORVEXLog::ErrorPriority ORVEX::IORVEXLog::fErrorPriority = ORVEX::IORVEXLog::ErrorLevel;
ORVEX::IORVEXLog::LogPriority ORVEX::IORVEXLog::fLogPriority = ORVEX::IORVEXLog::LogLevel;
std::ostream* ORVEX::IORVEXLog::fDebugStream = &std::cerr;
std::ostream* ORVEX::IORVEXLog::fLogStream = &std::cout;
std::map<std::string, ORVEX::IORVEXLog::ErrorPriority> ORVEX::IORVEXLog::fErrorTraces;
std::map<std::string, ORVEX::IORVEXLog::LogPriority> ORVEX::IORVEXLog::fLogTraces;
int ORVEX::IORVEXLog::fIndentation = 0;

ORVEX::IORVEXLog::ErrorPriority ORVEX::IORVEXLog::GetDebugLevel(const char* trace) {
    std::map<std::string, ErrorPriority>::const_iterator t = fErrorTraces.find(trace);
    return t == fErrorTraces.end() ? fErrorPriority : t->second;
}

ORVEX::IORVEXLog::LogPriority ORVEX::IORVEXLog::GetLogLevel(const char* trace) {
    std::map<std::string, LogPriority>::const_iterator t = fLogTraces.find(trace);
    return t == fLogTraces.end() ? fLogPriority : t->second;
}

void ORVEX::IORVEXLog::SetDebugLevel(const char* trace, ErrorPriority level) {
    fErrorTraces[trace] = level;
}

void ORVEX::IORVEXLog::SetLogLevel(const char* trace, LogPriority level) {
    fLogTraces[trace] = level;
}

void ORVEX::IORVEXLog::SetDebugStream(std::ostream* stream) {
    fDebugStream = stream ? stream : &std::cerr;
}

void ORVEX::IORVEXLog::SetLogStream(std::ostream* stream) {
    fLogStream = stream ? stream : &std::cout;
}

std::string ORVEX::IORVEXLog::MakeIndent() {
    return std::string(2 * fIndentation, ' ');
}

void ORVEX::IORVEXLog::SetIndentation(int level) {
    fIndentation = level < 0 ? 0 : level;
}

void ORVEX::IORVEXLog::DecreaseIndentation() {
    if (fIndentation > 0) --fIndentation;
}

bool ORVEX::IORVEXLog::Configure(const char* file) {
    std::ifstream input(file);
    if (!input) return false;
    std::string line;
    while (std::getline(input, line)) {
        std::istringstream words(line);
        std::string key;
        int level;
        if (!(words >> key >> level) || key.empty() || key.back() != ':') {
            continue;
        }
        key.pop_back();
        if (key == "debug") {
            fErrorPriority = static_cast<ErrorPriority>(level);
        } else if (key == "log") {
            fLogPriority = static_cast<LogPriority>(level);
        } else if (key.compare(0, 6, "debug.") == 0) {
            fErrorTraces[key.substr(6)] = static_cast<ErrorPriority>(level);
        } else if (key.compare(0, 4, "log.") == 0) {
            fLogTraces[key.substr(4)] = static_cast<LogPriority>(level);
        }
    }
    return true;
}
