// The fixture of the system tests: the unmodified binary in the sandbox, its two peers played in the test's process.
//
// A test brings up what it wants (StartAvp, StartCmdCore, StartHalyard, or BringUp for all of it), does something at
// one peer and waits for what the other sees. Every wait has the same generous deadline, kPatienceMs: it is the time
// after which a slow machine counts as broken, never a measure. At the end of each test the process must be alive, end
// with status 0 when asked to, and must have left no report of a sanitizer.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "avpsim.h"
#include "cmdcore.h"
#include "halyardprocess.h"

constexpr int kPatienceMs = 60'000;

// The processor's own id, which is eth0's hardware address in the sandbox, and two encoders elsewhere.
inline const std::string kLocalId = "0016c04e41b2";
inline const std::string kEncoderA = "0016c04e21e7";
inline const std::string kEncoderB = "0016c04e5a3c";

class SystemTest : public testing::Test {
 protected:
  using Clock = std::chrono::steady_clock;

  void SetUp() override;
  void TearDown() override;

  // The AV processor with its API server and text link. The link alone or the server alone can be left out by starting
  // them through Avp().
  void StartAvp(const std::string& role = "RX", T_AvpSimOptions options = T_AvpSimOptions());
  // The same, with nothing listening yet.
  void CreateAvp(const std::string& role = "RX", T_AvpSimOptions options = T_AvpSimOptions());
  CAvpSim& Avp() { return *m_pAvp; }

  void StartCmdCore();
  CCmdCore& Core() { return *m_pCore; }
  // Sends the online message until the process has taken it (it opens its socket some time after its start).
  void AnnounceCmdCore();

  // What the board description says: "HLY-" and this text. An empty text leaves the file out.
  void SetBoard(const std::string& model);
  // Starts "halyard -m <kLocalId>" on such a board; a transceiver's is "TR".
  void StartHalyard(const std::string& model = "RX");
  // Starts it with exactly these arguments, on the board as it is.
  void StartHalyardWith(const std::vector<std::string>& arguments);
  CHalyardProcess& Halyard() { return m_halyard; }

  // Everything up in this role, cmd_core announced, the text link set up, the first reads answered and forgotten.
  void BringUp(const std::string& role = "RX", T_AvpSimOptions options = T_AvpSimOptions());

  // The exit status after SIGTERM; fails the test when the process does not end.
  int Stop(int signalNumber = SIGTERM);
  // The test expects the process to end by itself with this status.
  void ExpectEnd(int status);

  // The log, oldest line first; the rolled-over files included. A message may hold line ends of its own.
  std::vector<std::string> LogLines() const;
  std::vector<std::string> LogLines(const std::string& part) const;  // those that hold this text
  size_t LogCount(const std::string& part) const { return LogLines(part).size(); }
  [[nodiscard]] bool WaitForLogLine(const std::string& part, size_t count = 1) const;

  // Shell commands that reached a recorder (gpio.py, reboot, sync), in order.
  std::vector<std::string> RecordedCommands() const;
  [[nodiscard]] bool WaitForRecorded(const std::string& command) const;

  // The requests of all commands sent since the last call (or BringUp), in order, as "POST /api/device/<id> <body>",
  // without the bodies' line ends. Polls of request ids and the periodic network and EDID reads do not count. A
  // harmless command is sent behind them and waited for, so that none is missed and a surplus one is seen.
  std::vector<std::string> TakeRequests();
  // Sends a harmless command and waits until its request has arrived: everything sent before has been served.
  void ExpectNextCommandWorks();

  [[nodiscard]] static bool WaitUntil(const std::function<bool()>& condition, int timeoutMs = kPatienceMs);
  static void WriteFile(const std::string& path, const std::string& text);
  static std::string ReadFile(const std::string& path);

 private:
  std::unique_ptr<CAvpSim> m_pAvp;
  std::unique_ptr<CCmdCore> m_pCore;
  CHalyardProcess m_halyard;
  bool m_bStarted = false;
  bool m_bEndExpected = false;
  unsigned m_u32Probes = 0;  // harmless commands sent so far; each carries its number
};

// Names a parametrised test after its row: the text that the row is, or its member "name".
struct T_RowName {
  template <typename Row>
  std::string operator()(const testing::TestParamInfo<Row>& row) const {
    if constexpr (std::is_convertible_v<Row, std::string>) {
      return row.param;
    } else {
      return row.param.name;
    }
  }
};

// Milliseconds between two moments.
double MsBetween(std::chrono::steady_clock::time_point from, std::chrono::steady_clock::time_point to);

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
