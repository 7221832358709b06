#include "brntlibcurl.h"

#include <sys/socket.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "brntlog.h"

namespace {

constexpr int kTransferred = 1;
constexpr int kNoHandle = -1;
constexpr int kFailed = -2;

// One for all transfers: they never overlap.
char s_errorBuffer[CURL_ERROR_SIZE];

constexpr int kPollMs = 1000;

struct T_CurlCleanup {
  void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
};
struct T_MultiCleanup {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
struct T_SlistFree {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
struct T_FileClose {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using CurlHandle = std::unique_ptr<CURL, T_CurlCleanup>;
using CurlMulti = std::unique_ptr<CURLM, T_MultiCleanup>;
using CurlList = std::unique_ptr<curl_slist, T_SlistFree>;
using File = std::unique_ptr<std::FILE, T_FileClose>;

curl_socket_t OpenSocket(void* /*userData*/, curlsocktype /*purpose*/, curl_sockaddr* address) {
  return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

// Options that hold for this process whatever the environment says. They cannot fail, so their results are not looked
// at.
void SetProcessOptions(CURL* curl) {
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_PROXY, "");
  curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(curl, CURLOPT_OPENSOCKETFUNCTION, OpenSocket);
}

bool SetTarget(CURL* curl, const std::string& url) {
  s_errorBuffer[0] = '\0';
  if (curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, s_errorBuffer) != CURLE_OK) {
    HLOG_ERROR("Failed to set error buffer");
    return false;
  }
  if (curl_easy_setopt(curl, CURLOPT_URL, url.c_str()) != CURLE_OK) {
    HLOG_ERROR("Failed to set URL error_buffer : [%s]", s_errorBuffer);
    return false;
  }
  if (curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L) != CURLE_OK) {
    HLOG_ERROR("Failed to set redirect option : [%s]", s_errorBuffer);
    return false;
  }
  return true;
}

bool SetSink(CURL* curl, std::string* pBuffer, std::FILE* fp) {
  if (pBuffer == nullptr && fp == nullptr) {
    HLOG_ERROR("p_buffer and fp all is NULL");
    return false;
  }
  if (pBuffer != nullptr && curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Process_get_data) != CURLE_OK) {
    HLOG_ERROR("Failed to set Process_get_data : [%s]", s_errorBuffer);
    return false;
  }
  if (pBuffer == nullptr && curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Process_get_file) != CURLE_OK) {
    HLOG_ERROR("Failed to set Process_get_file : [%s]", s_errorBuffer);
    return false;
  }
  void* sink = pBuffer != nullptr ? static_cast<void*>(pBuffer) : static_cast<void*>(fp);
  if (curl_easy_setopt(curl, CURLOPT_WRITEDATA, sink) != CURLE_OK) {
    HLOG_ERROR("Failed to set write data : [%s]", s_errorBuffer);
    return false;
  }
  return true;
}

bool SetPost(CURL* curl, curl_slist* headers, const std::string& body) {
  if (headers == nullptr || curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers) != CURLE_OK) {
    HLOG_ERROR("Failed to set chunk header : [%s]", s_errorBuffer);
    return false;
  }
  if (curl_easy_setopt(curl, CURLOPT_POST, 1L) != CURLE_OK) {
    HLOG_ERROR("Failed to set CURLOPT_POST : [%s]", s_errorBuffer);
    return false;
  }
  if (curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size())) != CURLE_OK ||
      curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str()) != CURLE_OK) {
    HLOG_ERROR("Failed to set CURLOPT_POSTFIELDS : [%s]", s_errorBuffer);
    return false;
  }
  return true;
}

bool SetDelete(CURL* curl, const char* body) {
  if (curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, "DELETE") != CURLE_OK) {
    HLOG_ERROR("Failed to set CURLOPT_CUSTOMREQUEST delete : [%s]", s_errorBuffer);
    return false;
  }
  if (body != nullptr && curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body) != CURLE_OK) {
    HLOG_ERROR("Failed to set CURLOPT_POSTFIELDS : [%s]", s_errorBuffer);
    return false;
  }
  return true;
}

// A handle that knows where to and where its answer goes; null when it could not be made.
CurlHandle NewHandle(const std::string& url, std::string* pBuffer, std::FILE* fp) {
  CurlHandle curl(curl_easy_init());
  if (curl == nullptr) {
    HLOG_ERROR("Failed to create CURL connection");
    return nullptr;
  }
  SetProcessOptions(curl.get());
  if (!SetTarget(curl.get(), url) || !SetSink(curl.get(), pBuffer, fp)) return nullptr;
  return curl;
}

// What runs a thread's transfers, made at the first one and kept, since making it costs an eighth of a transfer.
// Nothing of one transfer is left in it for the next: connections are closed after their only use.
CURLM* ThreadsMulti() {
  thread_local CurlMulti multi;
  if (multi == nullptr) multi.reset(curl_multi_init());
  return multi.get();
}

// What curl_easy_perform does, but for making and freeing the rest of libcurl's state each time.
CURLcode Perform(CURL* curl) {
  CURLM* multi = ThreadsMulti();
  if (curl_multi_add_handle(multi, curl) != CURLM_OK) return CURLE_FAILED_INIT;
  CURLMcode state = CURLM_OK;
  for (int running = 1; running != 0 && state == CURLM_OK;) {
    state = curl_multi_perform(multi, &running);
    if (running != 0 && state == CURLM_OK) state = curl_multi_poll(multi, nullptr, 0, kPollMs, nullptr);
  }
  int left = 0;
  const CURLMsg* done = curl_multi_info_read(multi, &left);  // ours: the thread has no other transfer
  const CURLcode result = done == nullptr ? CURLE_FAILED_INIT : done->data.result;
  curl_multi_remove_handle(multi, curl);
  return result;
}

int NoHandle(std::string& err) {
  err = "Connection initializion failed\n";
  HLOG_ERROR("Connection initializion failed");
  return kNoHandle;
}

int Get(const std::string& url, std::string* pBuffer, std::FILE* fp, std::string& err) {
  const CurlHandle curl = NewHandle(url, pBuffer, fp);
  if (curl == nullptr) return NoHandle(err);
  if (Perform(curl.get()) == CURLE_OK) return kTransferred;
  err = std::string("Failed to get ") + s_errorBuffer;
  HLOG_ERROR("Failed to get : [%s]", s_errorBuffer);
  return kFailed;
}

void PrintField(const char* name, const char* value) {
  std::printf("%s : %s\n", name, value != nullptr ? value : "none");
}

void PrintField(const char* name, long value) { std::printf("%s : %ld\n", name, value); }

// Versions packed into a number read better in hexadecimal.
void PrintPacked(const char* name, unsigned value) { std::printf("%s : 0x%x\n", name, value); }

void PrintProtocols(const char* const* protocols) {
  std::printf("protocols :");
  for (; protocols != nullptr && *protocols != nullptr; ++protocols) std::printf(" %s", *protocols);
  std::printf("\n");
}

}  // namespace

void Init_Curl_Global() {
  // The server is reached by plain HTTP; what libcurl would set up for TLS costs time and memory for nothing.
  curl_global_init(CURL_GLOBAL_NOTHING);
}

void Cleanup_Curl_Global() { curl_global_cleanup(); }

int Libcurl_Get_Data(const std::string& url, std::string& rsp, std::string& err) {
  return Get(url, &rsp, nullptr, err);
}

int Libcurl_Post_Data(const std::string& url, const std::string& body, std::string& rsp, std::string& err) {
  const CurlHandle curl = NewHandle(url, &rsp, nullptr);
  const CurlList headers(curl_slist_append(nullptr, "Content-Type: application/json"));
  if (curl == nullptr || !SetPost(curl.get(), headers.get(), body)) return NoHandle(err);
  if (Perform(curl.get()) == CURLE_OK) return kTransferred;
  err = std::string("Failed to post ") + s_errorBuffer;
  HLOG_ERROR("Failed to post : [%s]", s_errorBuffer);
  return kFailed;
}

int Libcurl_Delete(const std::string& url, const char* body, std::string& rsp, std::string& err) {
  const CurlHandle curl = NewHandle(url, &rsp, nullptr);
  if (curl == nullptr || !SetDelete(curl.get(), body)) return NoHandle(err);
  if (Perform(curl.get()) == CURLE_OK) return kTransferred;
  err = std::string("Failed to delete ") + s_errorBuffer;
  HLOG_ERROR("Failed to delete : [%s][%s]", url.c_str(), s_errorBuffer);
  return kFailed;
}

int Libcurl_Get_File(const std::string& url, const std::string& path, std::string& err) {
  const File file(std::fopen(path.c_str(), "ae"));  // null is told from a file where the sink is set
  return Get(url, nullptr, file.get(), err);
}

std::size_t Process_get_data(char* data, std::size_t size, std::size_t count, void* userData) {
  auto* buffer = static_cast<std::string*>(userData);
  const std::size_t length = size * count;  // libcurl: size is 1, count its own buffer's size at most
  if (buffer == nullptr || buffer->size() > kMaxRspBytes || kMaxRspBytes - buffer->size() < length) return 0;
  try {
    buffer->append(data, length);
  } catch (const std::exception&) {  // out of memory; nothing may be thrown through libcurl
    return 0;
  }
  return length;
}

std::size_t Process_get_file(char* data, std::size_t size, std::size_t count, void* userData) {
  auto* file = static_cast<std::FILE*>(userData);
  if (file == nullptr) return 0;
  const std::size_t written = std::fwrite(data, size, count, file);
  HLOG_INFO("fwriteres = [%d]", static_cast<int>(written));
  return written;
}

void print_curl_version(const curl_version_info_data* data) {
  if (data == nullptr) return;
  PrintField("age", static_cast<long>(data->age));
  PrintField("version", data->version);
  PrintPacked("version_num", data->version_num);
  PrintField("host", data->host);
  PrintPacked("features", static_cast<unsigned>(data->features));
  PrintField("ssl_version", data->ssl_version);
  PrintField("ssl_version_num", data->ssl_version_num);
  PrintField("libz_version", data->libz_version);
  PrintProtocols(data->protocols);
  if (data->age < CURLVERSION_SECOND) return;
  PrintField("ares", data->ares);
  PrintField("ares_num", static_cast<long>(data->ares_num));
  if (data->age < CURLVERSION_THIRD) return;
  PrintField("libidn", data->libidn);
  if (data->age < CURLVERSION_FOURTH) return;
  PrintPacked("iconv_ver_num", static_cast<unsigned>(data->iconv_ver_num));
  PrintField("libssh_version", data->libssh_version);
  if (data->age < CURLVERSION_FIFTH) return;
  PrintPacked("brotli_ver_num", data->brotli_ver_num);
  PrintField("brotli_version", data->brotli_version);
  if (data->age < CURLVERSION_SIXTH) return;
  PrintPacked("nghttp2_ver_num", data->nghttp2_ver_num);
  PrintField("nghttp2_version", data->nghttp2_version);
  PrintField("quic_version", data->quic_version);
}
