#include "brntlibcurl.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "brntplatform.h"
#include "logcapture.h"
#include "rowserver.h"
#include "testfiles.h"

namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

class Libcurl : public testing::Test {
 protected:
  Libcurl() { Init_Curl_Global(); }
  ~Libcurl() override {
    Cleanup_Curl_Global();
    unsetenv("http_proxy");
    unsetenv("ALL_PROXY");
  }

  int Get(const std::string& path) { return Libcurl_Get_Data(m_server.BaseUrl() + path, m_rsp, m_err); }
  int Post(const std::string& path, const std::string& body) {
    return Libcurl_Post_Data(m_server.BaseUrl() + path, body, m_rsp, m_err);
  }
  int Delete(const std::string& path, const char* body = nullptr) {
    return Libcurl_Delete(m_server.BaseUrl() + path, body, m_rsp, m_err);
  }
  int GetFile(const std::string& path, const std::string& file) {
    return Libcurl_Get_File(m_server.BaseUrl() + path, file, m_err);
  }

  T_ServerRequest OnlyRequest() {
    EXPECT_EQ(m_server.Requests().size(), 1U);
    return m_server.Requests().empty() ? T_ServerRequest{} : m_server.Requests().front();
  }

  CRowServer m_server;
  CLogCapture m_log;
  std::string m_rsp;
  std::string m_err;
};

TEST_F(Libcurl, GetAppendsTheAnswerToTheText) {
  m_server.Answer("one");
  m_rsp = "before ";
  EXPECT_EQ(Get("/api"), 1);
  EXPECT_EQ(m_rsp, "before one");
  EXPECT_EQ(OnlyRequest().method, "GET");
  EXPECT_EQ(OnlyRequest().path, "/api");
}

TEST_F(Libcurl, PostSendsTheBodyAsJson) {
  m_server.Answer("done");
  EXPECT_EQ(Post("/api/device/a", "{\"op\":\"stop\"}\n"), 1);
  EXPECT_EQ(m_rsp, "done");
  EXPECT_EQ(OnlyRequest().method, "POST");
  EXPECT_EQ(OnlyRequest().body, "{\"op\":\"stop\"}\n");
  EXPECT_NE(OnlyRequest().headers.find("\r\nContent-Type: application/json\r\n"), std::string::npos);
}

TEST_F(Libcurl, PostOfNothingSendsAnEmptyBody) {
  m_server.Answer("done");
  EXPECT_EQ(Post("/api", ""), 1);
  EXPECT_EQ(OnlyRequest().method, "POST");
  EXPECT_NE(OnlyRequest().headers.find("\r\nContent-Length: 0\r\n"), std::string::npos);
}

TEST_F(Libcurl, PostSendsBytesAfterAZeroToo) {
  m_server.Answer("done");
  const std::string body("a\0b", 3);
  EXPECT_EQ(Post("/api", body), 1);
  EXPECT_EQ(OnlyRequest().body, body);
}

TEST_F(Libcurl, DeleteNamesItsMethodAndSendsNoBody) {
  m_server.Answer("gone");
  EXPECT_EQ(Delete("/api/multiview/layout/x"), 1);
  EXPECT_EQ(m_rsp, "gone");
  EXPECT_EQ(OnlyRequest().method, "DELETE");
  EXPECT_EQ(OnlyRequest().headers.find("Content-Length"), std::string::npos);
}

TEST_F(Libcurl, DeleteCanCarryABody) {
  m_server.Answer("gone");
  EXPECT_EQ(Delete("/api", "{}"), 1);
  EXPECT_EQ(OnlyRequest().method, "DELETE");
  EXPECT_EQ(OnlyRequest().body, "{}");
}

TEST_F(Libcurl, GetFileAppendsToTheFile) {
  m_server.Answer("first ");
  m_server.Answer("second");
  EXPECT_EQ(GetFile("/f", "/tmp/got"), 1);
  EXPECT_EQ(GetFile("/f", "/tmp/got"), 1);
  EXPECT_EQ(FileText("/tmp/got"), "first second");
  EXPECT_TRUE(m_log.Contains("fwriteres = [6]"));
  unlink("/tmp/got");
}

TEST_F(Libcurl, AFileThatCannotBeOpenedIsNoSink) {
  EXPECT_EQ(GetFile("/f", "/tmp/no/such/folder"), -1);
  EXPECT_EQ(m_err, "Connection initializion failed\n");
  EXPECT_TRUE(m_log.Contains("p_buffer and fp all is NULL"));
  EXPECT_TRUE(m_log.Contains("Connection initializion failed"));
  EXPECT_TRUE(m_server.Requests().empty());
}

TEST_F(Libcurl, AFullDiskFailsTheTransfer) {
  m_server.Answer(std::string(100000, 'x'));
  EXPECT_EQ(GetFile("/f", "/dev/full"), -2);
  EXPECT_EQ(m_err.rfind("Failed to get ", 0), 0U);
}

TEST_F(Libcurl, AnErrorStatusIsStillAnAnswer) {
  m_server.Answer("{\"status\":\"ERROR\"}", 404);
  EXPECT_EQ(Get("/api"), 1);
  EXPECT_EQ(m_rsp, "{\"status\":\"ERROR\"}");
}

TEST_F(Libcurl, RedirectsAreNotFollowed) {
  m_server.Answer("moved", 302);
  EXPECT_EQ(Get("/api"), 1);
  EXPECT_EQ(m_rsp, "moved");
  EXPECT_EQ(m_server.Lines(), (std::vector<std::string>{"GET /api"}));
}

TEST_F(Libcurl, ProxiesOfTheEnvironmentAreNeverUsed) {
  setenv("http_proxy", "http://127.0.0.1:1", 1);
  setenv("ALL_PROXY", "http://127.0.0.1:1", 1);
  m_server.Answer("direct");
  EXPECT_EQ(Get("/api"), 1);
  EXPECT_EQ(m_rsp, "direct");
}

TEST_F(Libcurl, EveryTransferHasItsOwnConnection) {
  m_server.Answer("x");
  Get("/1");
  Get("/2");
  const std::vector<T_ServerRequest> requests = m_server.Requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_NE(requests[0].connection, requests[1].connection);
}

// The three verbs fail alike, each with its own words.
struct T_FailureRow {
  const char* name;
  int (*transfer)(const std::string& url, std::string& rsp, std::string& err);
  const char* errBegin;
  const char* logBegin;
};

int GetOf(const std::string& url, std::string& rsp, std::string& err) { return Libcurl_Get_Data(url, rsp, err); }
int PostOf(const std::string& url, std::string& rsp, std::string& err) {
  return Libcurl_Post_Data(url, "{}", rsp, err);
}
int DeleteOf(const std::string& url, std::string& rsp, std::string& err) {
  return Libcurl_Delete(url, nullptr, rsp, err);
}

const T_FailureRow kFailureRows[] = {
    {"Get", GetOf, "Failed to get ", "Failed to get : ["},
    {"Post", PostOf, "Failed to post ", "Failed to post : ["},
    {"Delete", DeleteOf, "Failed to delete ", "Failed to delete : ["},
};

class LibcurlFailure : public Libcurl, public testing::WithParamInterface<T_FailureRow> {};

TEST_P(LibcurlFailure, ConnectionRefused) {
  std::string url;
  {
    CRowServer gone;
    url = gone.BaseUrl();
  }
  EXPECT_EQ(GetParam().transfer(url + "/api", m_rsp, m_err), -2);
  EXPECT_EQ(m_err.rfind(GetParam().errBegin, 0), 0U) << m_err;
  EXPECT_NE(m_err.find("127.0.0.1"), std::string::npos) << m_err;
  EXPECT_TRUE(m_log.Contains(GetParam().logBegin));
  EXPECT_EQ(m_rsp, "");
}

TEST_P(LibcurlFailure, ServerHangsUp) {
  m_server.HangUp();
  EXPECT_EQ(GetParam().transfer(m_server.BaseUrl() + "/api", m_rsp, m_err), -2);
  EXPECT_EQ(m_err, std::string(GetParam().errBegin) + "Empty reply from server");
}

TEST_P(LibcurlFailure, AnswerBreaksOff) {
  m_server.Truncate("{\"status\":");
  EXPECT_EQ(GetParam().transfer(m_server.BaseUrl() + "/api", m_rsp, m_err), -2);
  EXPECT_EQ(m_err.rfind(GetParam().errBegin, 0), 0U) << m_err;
}

TEST_P(LibcurlFailure, AnUrlThatLibcurlRefusesFailsTheSetUp) {
  EXPECT_EQ(GetParam().transfer("http://" + std::string(9'000'000, 'a'), m_rsp, m_err), -1);
  EXPECT_EQ(m_err, "Connection initializion failed\n");
  EXPECT_TRUE(m_log.Contains("Failed to set URL error_buffer : ["));
  EXPECT_TRUE(m_log.Contains("Connection initializion failed"));
}

INSTANTIATE_TEST_SUITE_P(Verbs, LibcurlFailure, testing::ValuesIn(kFailureRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Libcurl, TheFailedDeleteLogsItsUrlToo) {
  m_server.HangUp();
  Delete("/api/x");
  EXPECT_TRUE(m_log.Contains("Failed to delete : [" + m_server.BaseUrl() + "/api/x][Empty reply from server]"));
}

TEST_F(Libcurl, AnAnswerBeyondTheLimitFails) {
  m_server.Answer(std::string(kMaxRspBytes + 1, 'x'));
  EXPECT_EQ(Get("/api"), -2);
  EXPECT_LE(m_rsp.size(), kMaxRspBytes);
}

TEST_F(Libcurl, AnAnswerUpToTheLimitIsTaken) {
  m_server.Answer(std::string(kMaxRspBytes, 'x'));
  EXPECT_EQ(Get("/api"), 1);
  EXPECT_EQ(m_rsp.size(), kMaxRspBytes);
}

TEST_F(Libcurl, ACommandStartedDuringATransferInheritsNothingOfIt) {
  m_server.Hold();
  std::thread transfer([this] { Get("/api"); });
  ASSERT_TRUE(m_server.WaitForRequests(1));
  EXPECT_EQ(CBrntPlatform::RunShell("ls -l /proc/self/fd > /tmp/inherited"), 0);
  m_server.Answer("x");
  m_server.Release();
  transfer.join();
  EXPECT_EQ(FileText("/tmp/inherited").find("socket:"), std::string::npos) << FileText("/tmp/inherited");
  EXPECT_EQ(m_rsp, "x");
  unlink("/tmp/inherited");
}

TEST_F(Libcurl, TheCallbacksRefuseWithoutASink) {
  char data[] = "abc";
  EXPECT_EQ(Process_get_data(data, 1, 3, nullptr), 0U);
  EXPECT_EQ(Process_get_file(data, 1, 3, nullptr), 0U);
}

TEST_F(Libcurl, TheVersionRecordIsPrintedFieldByField) {
  CaptureStdout();
  print_curl_version(curl_version_info(CURLVERSION_NOW));
  const std::string text = GetCapturedStdout();
  for (const char* field :
       {"age", "version", "version_num", "host", "features", "ssl_version", "ssl_version_num", "libz_version",
        "protocols", "ares", "ares_num", "libidn", "iconv_ver_num", "libssh_version", "brotli_ver_num",
        "brotli_version", "nghttp2_ver_num", "nghttp2_version", "quic_version"}) {
    EXPECT_NE(("\n" + text).find("\n" + std::string(field) + " :"), std::string::npos) << field;
  }
  EXPECT_NE(text.find("\nversion : " LIBCURL_VERSION "\n"), std::string::npos) << text;
}

TEST_F(Libcurl, AnOldVersionRecordIsPrintedAsFarAsItGoes) {
  curl_version_info_data old{};
  old.age = CURLVERSION_FIRST;
  old.version = "7.1.0";
  CaptureStdout();
  print_curl_version(&old);
  const std::string text = GetCapturedStdout();
  EXPECT_NE(text.find("libz_version : none\n"), std::string::npos);
  EXPECT_EQ(text.find("ares"), std::string::npos);
}

}  // namespace
