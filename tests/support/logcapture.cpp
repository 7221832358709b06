#include "logcapture.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <list>
#include <log4cpp/AppenderSkeleton.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/LoggingEvent.hh>
#include <mutex>

// The one appender on the category. It is installed with the first capture and stays, so that a capture that comes or
// goes never touches the category under a thread that logs.
class CLogCollector : public log4cpp::AppenderSkeleton {
 public:
  static CLogCollector& Get() {
    static CLogCollector* collector = Install();
    return *collector;
  }

  void Add(CLogCapture* capture) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_captures.push_back(capture);
  }

  void Remove(CLogCapture* capture) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_captures.remove(capture);
  }

  std::vector<T_LogLine> Copy(const std::vector<T_LogLine>& lines) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return lines;
  }

  void Clear(std::vector<T_LogLine>& lines) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    lines.clear();
  }

  template <typename Predicate>
  bool WaitUntil(int timeoutMs, Predicate predicate) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), predicate);
  }

  bool reopen() override { return true; }
  void close() override {}
  bool requiresLayout() const override { return false; }
  void setLayout(log4cpp::Layout*) override {}

 private:
  CLogCollector() : AppenderSkeleton("capture") {}

  static CLogCollector* Install() {
    auto* collector = new CLogCollector();
    log4cpp::Category& category = log4cpp::Category::getInstance("CATEGORY");
    category.setPriority(log4cpp::Priority::INFO);
    category.addAppender(collector);  // the category owns it from here
    return collector;
  }

  void _append(const log4cpp::LoggingEvent& event) override {
    T_LogLine line{event.priority, event.message, ""};
    const std::size_t place = line.text.rfind(" --[");
    if (place != std::string::npos && line.text.back() == ']') {
      line.place = line.text.substr(place + 4, line.text.size() - place - 5);
      line.text.resize(place);
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (CLogCapture* capture : m_captures) capture->m_lines.push_back(line);
    m_changed.notify_all();
  }

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::list<CLogCapture*> m_captures;
};

namespace {

std::size_t CountIn(const std::vector<T_LogLine>& lines, const std::string& text) {
  return static_cast<std::size_t>(std::count_if(
      lines.begin(), lines.end(), [&](const T_LogLine& line) { return line.text.find(text) != std::string::npos; }));
}

}  // namespace

CLogCapture::CLogCapture() { CLogCollector::Get().Add(this); }

CLogCapture::~CLogCapture() { CLogCollector::Get().Remove(this); }

std::vector<T_LogLine> CLogCapture::Lines() const { return CLogCollector::Get().Copy(m_lines); }

std::vector<std::string> CLogCapture::Texts() const {
  std::vector<std::string> texts;
  for (const T_LogLine& line : Lines()) texts.push_back(line.text);
  return texts;
}

std::size_t CLogCapture::Count(const std::string& text) const { return CountIn(Lines(), text); }

int CLogCapture::PriorityOf(const std::string& text) const {
  for (const T_LogLine& line : Lines()) {
    if (line.text.find(text) != std::string::npos) return line.priority;
  }
  return 0;
}

bool CLogCapture::WaitFor(const std::string& text, std::size_t count, int timeoutMs) const {
  return CLogCollector::Get().WaitUntil(timeoutMs, [&] { return CountIn(m_lines, text) >= count; });
}

void CLogCapture::Clear() { CLogCollector::Get().Clear(m_lines); }
