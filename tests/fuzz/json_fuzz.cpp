// Texts where JSON is expected: parsed, written, parsed again, and read with every reader.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "brntjson.h"
#include "brntparsersp.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

// A reader gives what is there in its type, and leaves its output alone otherwise.
void ReadMembers(const Json::Value& value) {
  for (const char* key : {"", "a", "status", "request_id", "error"}) {
    const Json::Value* member = brntjson::Member(value, key);
    std::string text = "before";
    SInt32 number = 7;
    bool flag = false;
    Require(brntjson::GetString(value, key, text) == (member != nullptr && member->isString()));
    Require(!brntjson::GetInt(value, key, number) || member->asInt() == number);
    Require(brntjson::GetBool(value, key, flag) == (member != nullptr && member->isBool()));
    if (member == nullptr) Require(text == "before" && number == 7 && brntjson::IsMissingOrEmpty(value, key));

    Json::Value walked = value;
    Require(ParseJsonRsp::GetNextJsonObject(key, walked) == (member != nullptr));
    walked = value;
    ParseJsonRsp::GetNextJsonObjectArray("a", walked, key, "x");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Json::Value value("untouched");
  if (!brntjson::Parse(std::string(reinterpret_cast<const char*>(data), size), value)) {
    Require(value == "untouched");
    return 0;
  }
  ReadMembers(value);
  const std::string written = brntjson::Write(value);
  Require(!written.empty() && written.back() == '\n');
  Json::Value again;  // not always the same: bytes that are no UTF-8 come back as replacement characters
  Require(brntjson::Parse(written, again));
  return 0;
}
