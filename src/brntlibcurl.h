// The HTTP transfers with the API server: one libcurl easy handle each, no connection is kept, no time-out is set.
//
// The error buffer behind these functions is one for the whole process, so no two transfers may run at once; the REST
// client's lock sees to that. No proxy from the environment is ever used.
#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <string>

// libcurl's global state. Calls pair up; the state goes with the last clean-up. What the transfers of one thread share
// beside it stays until the thread ends.
void Init_Curl_Global();
void Cleanup_Curl_Global();

// The transfers. 1 when an answer came, whatever its HTTP status; -1 when the handle could not be set up, -2 when the
// transfer failed, both with a text in err. The body of the answer is appended to rsp.
int Libcurl_Get_Data(const std::string& url, std::string& rsp, std::string& err);
int Libcurl_Post_Data(const std::string& url, const std::string& body, std::string& rsp, std::string& err);
// body may be null: nothing is sent then.
int Libcurl_Delete(const std::string& url, const char* body, std::string& rsp, std::string& err);
// Appends the body of the answer to the file.
int Libcurl_Get_File(const std::string& url, const std::string& path, std::string& err);

// Prints the record on standard output, one field a line, as far as its age says that it goes; null prints nothing.
void print_curl_version(const curl_version_info_data* data);

// What libcurl calls with each piece of an answer. Less than count in return ends the transfer with an error.
// Process_get_data appends to the std::string in userData, up to kMaxRspBytes in all; Process_get_file writes to the
// FILE* in userData.
std::size_t Process_get_data(char* data, std::size_t size, std::size_t count, void* userData);
std::size_t Process_get_file(char* data, std::size_t size, std::size_t count, void* userData);

// The longest answer that is read: a server out of order must not eat the endpoint's memory.
constexpr std::size_t kMaxRspBytes = 16U * 1024 * 1024;
