// The process's log: category "CATEGORY" of log4cpp. Every line ends with " --[file:line]".
//
// Any thread. The format is a literal that the compiler checks; text from outside is only ever an argument.
#pragma once

namespace brntlog {

constexpr int kError = 300;  // something asked for did not happen
constexpr int kWarn = 400;   // unusual, carried on
constexpr int kInfo = 600;   // the course of one command, readable in order

// Configures log4cpp from the properties file. When it is missing or bad: one line on standard error, and a console
// appender at INFO instead. Main thread, before other threads start.
void Configure(const char* configPath);

// Writes one line. Formats only when the category takes lines of this priority.
void Write(int priority, const char* file, unsigned line, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

}  // namespace brntlog

#define HLOG_ERROR(...) brntlog::Write(brntlog::kError, __FILE__, __LINE__, __VA_ARGS__)
#define HLOG_WARN(...) brntlog::Write(brntlog::kWarn, __FILE__, __LINE__, __VA_ARGS__)
#define HLOG_INFO(...) brntlog::Write(brntlog::kInfo, __FILE__, __LINE__, __VA_ARGS__)
