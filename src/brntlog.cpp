#include "brntlog.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <log4cpp/Appender.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PropertyConfigurator.hh>
#include <stdexcept>
#include <string>

#include "brntloglayout.h"

namespace {

constexpr std::size_t kAroundPlace = 24;  // line number and brackets behind each text; room for them, not a limit

log4cpp::Category& LogCategory() {
  static log4cpp::Category& category = log4cpp::Category::getInstance("CATEGORY");
  return category;
}

// False when no appender takes the category's lines, or one has a file that cannot be opened: log4cpp finds nothing
// wrong with either.
bool SomethingTakesTheLines() {
  log4cpp::Category& category = LogCategory();
  const bool fromRoot = category.getAdditivity() && !log4cpp::Category::getRoot().getAllAppenders().empty();
  if (!fromRoot && category.getAllAppenders().empty()) return false;
  return log4cpp::Appender::reopenAll();
}

void UseFastLayouts(log4cpp::Category& category, const char* configPath) {
  for (log4cpp::Appender* appender : category.getAllAppenders()) {
    if (brntlog::HasLinePattern(configPath, appender->getName())) appender->setLayout(new brntlog::CLineLayout());
  }
}

// Whatever a configuration has set up half-way is gone afterwards.
void UseConsole() {
  log4cpp::Category& category = LogCategory();
  category.removeAllAppenders();
  category.setAdditivity(true);
  category.setPriority(log4cpp::Priority::NOTSET);

  std::cout.setf(std::ios::unitbuf);                                     // each line shows at once, also in a pipe
  auto* appender = new log4cpp::OstreamAppender("console", &std::cout);  // owned by the category
  appender->setLayout(new brntlog::CLineLayout());                       // owned by the appender
  log4cpp::Category& root = log4cpp::Category::getRoot();
  root.removeAllAppenders();
  root.setPriority(log4cpp::Priority::INFO);
  root.addAppender(appender);
}

}  // namespace

namespace brntlog {

void Configure(const char* configPath) {
  try {
    log4cpp::PropertyConfigurator::configure(configPath);
    UseFastLayouts(LogCategory(), configPath);
    UseFastLayouts(log4cpp::Category::getRoot(), configPath);
    if (!SomethingTakesTheLines()) throw std::runtime_error("its log cannot be written");
  } catch (const std::exception& e) {
    std::fprintf(stderr, "log configuration %s: %s; logging to the console\n", configPath, e.what());
    UseConsole();
  }
}

void Write(int priority, const char* file, unsigned line, const char* format, ...) {
  if (!LogCategory().isPriorityEnabled(priority)) return;

  char buffer[1024];
  std::va_list args;
  va_start(args, format);
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);

  std::string text;
  if (length >= 0) {
    const auto size = static_cast<std::size_t>(length);
    text.reserve(size + std::strlen(file) + kAroundPlace);
    if (size < sizeof buffer) {
      text.assign(buffer, size);
    } else {
      text.resize(size + 1);
      std::vsnprintf(text.data(), text.size(), format, again);
      text.pop_back();
    }
  }
  va_end(again);

  text += " --[";
  text += file;
  text += ':';
  text += std::to_string(line);
  text += ']';
  LogCategory().log(priority, text);
}

}  // namespace brntlog
