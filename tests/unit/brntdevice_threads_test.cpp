// Documents arrive on one thread while others read the device; the thread sanitizer watches.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "brntdevice.h"
#include "devicedocs.h"
#include "reportcapture.h"

namespace {

using devicedocs::At;

constexpr int kDocuments = 300;

// A decoder's document in which every number and text of the picture follows from even or odd.
Json::Value PictureDocument(bool odd) {
  Json::Value document = devicedocs::Sample("device-rx");
  Json::Value& video = At(document, "nodes[FRAME_BUFFER:0].status.source_video");
  video["width"] = odd ? 1280 : 3840;
  video["height"] = odd ? 720 : 2160;
  video["color_space"] = odd ? "RGB" : "YCBCR_444";
  At(document, "nodes[FRAME_BUFFER:0].configuration.display_mode") = odd ? "WALL_GENLOCKED" : "FAST_SWITCHED";
  return document;
}

class DeviceThreads : public testing::Test {
 protected:
  // Runs the readers over and over on a thread each until every document has been parsed.
  void ParseWhile(const std::vector<std::function<void()>>& readers) {
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (const auto& reader : readers) {
      threads.emplace_back([&done, &reader] {
        do reader();
        while (!done);
      });
    }
    for (int i = 0; i < kDocuments; ++i) EXPECT_EQ(m_device->ParseDevice(m_documents[i % 2], i % 3 == 0), 1);
    done = true;
    for (std::thread& thread : threads) thread.join();
  }

  CReportCapture m_capture;
  CBrntDevice* m_device = CBrntDevice::GetBrntDevByID("threads");
  const Json::Value m_documents[2] = {PictureDocument(false), PictureDocument(true)};
};

TEST_F(DeviceThreads, AReaderSeesOneWholeDocument) {
  ASSERT_EQ(m_device->ParseDevice(m_documents[0], false), 1);
  std::atomic<int> torn{0};
  ParseWhile({[&] {
    const T_VideoWallDetails details = m_device->GetVideoWallDetails();
    const bool odd = details.u32Width == 1280;
    if (details.u32Height != (odd ? 720u : 2160u) || details.strColorSpace != (odd ? "RGB" : "YCBCR_444") ||
        details.strDisplayMode != (odd ? "WALL_GENLOCKED" : "FAST_SWITCHED")) {
      ++torn;
    }
  }});
  EXPECT_EQ(torn, 0);
}

TEST_F(DeviceThreads, CommandsReadAndWriteMeanwhile) {
  ParseWhile({
      [&] { m_device->GetStreamSubscriptionALL(); },
      [&] { m_device->GetVideoInputInfo(); },
      [&] { m_device->SetLineOrder("DTE"); },
      [&] {
        OSMutexLocker lock(m_device->m_objMutex);
        m_device->m_avpdeviceid = m_device->m_strDeviceMode;
      },
      [&] {
        std::string name;
        bool production = false;
        m_device->SetUpgradeFilenameAndCmdFlag("fw.apz", true);
        m_device->GetUpgradeFilenameAndCmdFlag(name, production);
        m_device->SetUpgradeFinishFlag(!m_device->GetUpgradeFinishFlag());
        m_device->m_bTx = m_device->m_bRx.load();
      },
  });
  EXPECT_EQ(m_device->GetUartInfo().m_strLineOrder, "DTE");
}

TEST_F(DeviceThreads, ReportsLeaveWholeFromTwoThreads) {
  constexpr int kReports = 10;  // few enough for the socket's buffer while nobody takes them out
  ASSERT_EQ(m_device->ParseDevice(m_documents[0], false), 1);
  std::thread reporter([&] {
    for (int i = 0; i < kReports; ++i) m_device->ReportDevice();
  });
  std::vector<T_Report> reports;
  const auto take = [&] {
    for (T_Report& report : m_capture.Take()) reports.push_back(std::move(report));
  };
  for (int i = 0; i < kDocuments; ++i) {
    EXPECT_EQ(m_device->ParseDevice(m_documents[i % 2], true), 1);
    take();
  }
  reporter.join();
  take();
  EXPECT_EQ(reports.size(), 3u * (kDocuments + kReports));
  for (const T_Report& report : reports) EXPECT_EQ(report.fault, "");
}

TEST_F(DeviceThreads, TheRegistryGivesEveryThreadTheSameDevice) {
  std::vector<CBrntDevice*> found(4 * 100);
  std::vector<std::thread> threads;
  for (size_t thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&found, thread] {
      for (size_t i = 0; i < 100; ++i) {
        const std::string id = "threads-" + std::to_string(i);
        found[thread * 100 + i] = CBrntDevice::GetBrntDevByID(id);
        CBrntDevice::FindBrntDevByID(id);
        CBrntDevice::SetMVSources({{id, id}});
        CBrntDevice::GetMVSources();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < found.size(); ++i) EXPECT_EQ(found[i], CBrntDevice::FindBrntDevByID(found[i]->m_strDevID));
  for (size_t i = 100; i < found.size(); ++i) EXPECT_EQ(found[i], found[i % 100]);
  CBrntDevice::SetMVSources({});
}

}  // namespace
