#include "systemtest.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

constexpr char kBoardPath[] = "/misc/boardInfo.json";
constexpr char kLogPath[] = "/var/log/halyard.log";
constexpr int kPollMs = 20;

// A release build has to end within 2 s; a sanitizer looks through the memory first.
constexpr int kStopMs = kSanitized ? 20'000 : 2'000;

// The probe's data begin so, and go on with its number: no test sends the like.
constexpr char kProbeMark[] = "5052";

bool IsProbe(const T_SimRequest& request) {
  return request.Op() == "send:cec" && request.Field("data_hex").rfind(kProbeMark, 0) == 0;
}

bool IsHousekeeping(const T_SimRequest& request) {
  return request.path.rfind("/api/request/", 0) == 0 || request.Op() == "netstat" || request.Field("subset") == "edid";
}

std::string Describe(const T_SimRequest& request) {
  std::string body = request.body;
  if (!body.empty() && body.back() == '\n') body.pop_back();
  return request.method + " " + request.path + (body.empty() ? "" : " " + body);
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string LastLines(const std::vector<std::string>& lines, size_t count) {
  std::string text;
  for (size_t i = lines.size() > count ? lines.size() - count : 0; i < lines.size(); ++i) text += lines[i] + "\n";
  return text;
}

}  // namespace

double MsBetween(std::chrono::steady_clock::time_point from, std::chrono::steady_clock::time_point to) {
  return std::chrono::duration<double, std::milli>(to - from).count();
}

void SystemTest::SetUp() {
  for (const char* path : {"/var/log/halyard.log", "/var/log/halyard.log.1", "/var/log/halyard.log.2", "/tmp/dec.edid",
                           "/tmp/dec.edid.bin", "/tmp/mon.edid", "/tmp/mon.edid.bin", "/tmp/avpinfo.json"}) {
    std::remove(path);
  }
  WriteFile("/config/logconf/halyard.conf", ReadFile(HALYARD_SOURCE_DIR "/packaging/halyard.conf"));
  WriteFile(std::getenv("HALYARD_RECORDED"), "");
}

void SystemTest::TearDown() {
  if (m_bStarted && !m_bEndExpected) {
    EXPECT_TRUE(m_halyard.Running()) << "the process ended by itself";
    EXPECT_EQ(Stop(), 0);
  }
  EXPECT_FALSE(m_halyard.HasSanitizerReport());
  if (HasFailure()) {
    std::printf("--- output of the process\n%s--- end of its log\n%s---\n", m_halyard.Output().c_str(),
                LastLines(LogLines(), 100).c_str());
  }
}

void SystemTest::CreateAvp(const std::string& role, T_AvpSimOptions options) {
  options.role = role;
  options.mac = kLocalId;
  m_pAvp = std::make_unique<CAvpSim>(options);
}

void SystemTest::StartAvp(const std::string& role, T_AvpSimOptions options) {
  CreateAvp(role, std::move(options));
  ASSERT_TRUE(m_pAvp->Start());
}

void SystemTest::StartCmdCore() {
  m_pCore = std::make_unique<CCmdCore>();
  ASSERT_TRUE(m_pCore->Start());
}

void SystemTest::AnnounceCmdCore() {
  const bool heard = WaitUntil([this] {
    m_pCore->Online();
    return LogCount("Cmd Core Is Online") > 0;
  });
  ASSERT_TRUE(heard) << "the online message was not taken";
}

void SystemTest::SetBoard(const std::string& model) {
  std::remove(kBoardPath);
  if (!model.empty()) WriteFile(kBoardPath, "{\"modelNumber\":\"HLY-" + model + "\"}\n");
}

void SystemTest::StartHalyard(const std::string& model) {
  SetBoard(model);
  StartHalyardWith({"-m", kLocalId});
}

void SystemTest::StartHalyardWith(const std::vector<std::string>& arguments) {
  m_bStarted = true;
  m_bEndExpected = false;
  ASSERT_TRUE(m_halyard.Start(arguments)) << CHalyardProcess::Path();
}

void SystemTest::BringUp(const std::string& role, T_AvpSimOptions options) {
  ASSERT_NO_FATAL_FAILURE(StartAvp(role, std::move(options)));
  ASSERT_NO_FATAL_FAILURE(StartCmdCore());
  ASSERT_NO_FATAL_FAILURE(StartHalyard(role == "TRX" ? "TR" : role));
  ASSERT_NO_FATAL_FAILURE(AnnounceCmdCore());
  ASSERT_TRUE(m_pAvp->WaitForRequest(simmatch::Subset("identity"), kPatienceMs));
  ASSERT_TRUE(m_pAvp->WaitForRequest(simmatch::Subset("device"), kPatienceMs));
  ExpectNextCommandWorks();
  m_pAvp->ClearRequests();
}

int SystemTest::Stop(int signalNumber) {
  m_bEndExpected = true;
  m_halyard.Signal(signalNumber);
  const auto status = m_halyard.WaitForEnd(kStopMs);
  EXPECT_TRUE(status.has_value()) << "still running " << kStopMs << " ms after the signal";
  return status.value_or(-1);
}

void SystemTest::ExpectEnd(int status) {
  m_bEndExpected = true;
  const auto ended = m_halyard.WaitForEnd(kPatienceMs);
  ASSERT_TRUE(ended.has_value()) << "still running";
  EXPECT_EQ(*ended, status);
}

std::vector<std::string> SystemTest::LogLines() const {
  const std::string log = kLogPath;
  return SplitLines(ReadFile(log + ".2") + ReadFile(log + ".1") + ReadFile(log));
}

std::vector<std::string> SystemTest::LogLines(const std::string& part) const {
  std::vector<std::string> found;
  for (std::string& line : LogLines()) {
    if (line.find(part) != std::string::npos) found.push_back(std::move(line));
  }
  return found;
}

bool SystemTest::WaitForLogLine(const std::string& part, size_t count) const {
  return WaitUntil([&] { return LogCount(part) >= count; });
}

std::vector<std::string> SystemTest::RecordedCommands() const {
  return SplitLines(ReadFile(std::getenv("HALYARD_RECORDED")));
}

bool SystemTest::WaitForRecorded(const std::string& command) const {
  return WaitUntil([&] {
    const auto commands = RecordedCommands();
    return std::find(commands.begin(), commands.end(), command) != commands.end();
  });
}

void SystemTest::ExpectNextCommandWorks() {
  char data[16];
  std::snprintf(data, sizeof data, "%s%08x", kProbeMark, ++m_u32Probes);
  ASSERT_TRUE(m_pCore->Send("send-cec-data", std::string(R"({"data":")") + data + R"("})"));
  ASSERT_TRUE(m_pAvp->WaitForRequest(simmatch::Field("data_hex", data), kPatienceMs))
      << "the process no longer serves commands";
}

std::vector<std::string> SystemTest::TakeRequests() {
  ExpectNextCommandWorks();
  const std::vector<T_SimRequest> requests = m_pAvp->Requests();
  m_pAvp->ClearRequests();
  std::vector<std::string> described;
  for (const T_SimRequest& request : requests) {
    if (!IsHousekeeping(request) && !IsProbe(request)) described.push_back(Describe(request));
  }
  return described;
}

bool SystemTest::WaitUntil(const std::function<bool()>& condition, int timeoutMs) {
  const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs);
  while (!condition()) {
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(kPollMs));
  }
  return true;
}

void SystemTest::WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

std::string SystemTest::ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}
