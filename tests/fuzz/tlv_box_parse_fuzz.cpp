// Boxes of any bytes: parsed, read with every reader, taken apart as deep as they nest, and built again.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "msg_tags.h"
#include "tlv_box.h"

namespace {

constexpr int kDeepest = 16;

struct T_BoxDeleter {
  void operator()(tlv_box_t* box) const { tlv_box_destroy(box); }
};
using BoxPtr = std::unique_ptr<tlv_box_t, T_BoxDeleter>;

void Require(bool condition) {
  if (!condition) std::abort();
}

template <typename Value>
void ReadNumber(const tlv_box_t* box, tlv_tag_t tag, int (*get)(const tlv_box_t*, tlv_tag_t, Value*)) {
  Value value{};
  const unsigned length = tlv_box_get_node(box, tag)->length;
  Require((get(box, tag, &value) == 0) == (length >= sizeof value));
}

void ReadRecord(const tlv_box_t* box, tlv_tag_t tag) {
  ReadNumber<char>(box, tag, tlv_box_get_char);
  ReadNumber<short>(box, tag, tlv_box_get_short);
  ReadNumber<int>(box, tag, tlv_box_get_int);
  ReadNumber<long>(box, tag, tlv_box_get_long);
  ReadNumber<long long>(box, tag, tlv_box_get_longlong);
  ReadNumber<float>(box, tag, tlv_box_get_float);
  ReadNumber<double>(box, tag, tlv_box_get_double);

  const unsigned char* bytes = nullptr;
  unsigned length = 0;
  Require(tlv_box_get_bytes_ptr(box, tag, &bytes, &length) == 0);
  std::vector<char> room(kTlvTextRoom);
  unsigned roomLeft = kTlvTextRoom;
  const bool fits = length <= kTlvTextRoom;
  Require((tlv_box_get_string(box, tag, room.data(), &roomLeft) == 0) == fits);
  if (fits) Require(roomLeft == length && (length == 0 || std::memcmp(room.data(), bytes, length) == 0));
}

// The box of the same records serialises to at most the same bytes, and to exactly them when nothing was passed over.
void BuildAgain(const tlv_box_t* box) {
  const BoxPtr again(tlv_box_create());
  for (const key_list_node_t* node = box->m_list->header; node != nullptr; node = node->next) {
    const auto* record = static_cast<const tlv_t*>(node->value);
    Require(tlv_box_put_bytes(again.get(), record->tag, record->value, static_cast<int>(record->length)) == 0);
  }
  Require(tlv_box_serialize(again.get()) == 0);
  const int size = tlv_box_get_size(again.get());
  Require(size <= tlv_box_get_size(box));
  if (size != tlv_box_get_size(box) || size == 0) return;
  Require(std::memcmp(tlv_box_get_buffer(again.get()), tlv_box_get_buffer(box), static_cast<std::size_t>(size)) == 0);
}

void ReadBox(const tlv_box_t* box, int depth) {
  std::vector<key_t> keys(static_cast<std::size_t>(key_list_count(box->m_list)));
  Require(key_list_keyset(box->m_list, keys.data(), static_cast<int>(keys.size())) == static_cast<int>(keys.size()));
  for (const key_t key : keys) {
    const auto tag = static_cast<tlv_tag_t>(key);
    ReadRecord(box, tag);
    tlv_box_t* inner = nullptr;
    Require(tlv_box_get_object(box, tag, &inner) == 0);
    const BoxPtr owned(inner);
    if (depth < kDeepest) ReadBox(owned.get(), depth + 1);
  }
  BuildAgain(box);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const BoxPtr box(tlv_box_parse(data, static_cast<int>(size)));
  Require(tlv_box_get_size(box.get()) == static_cast<int>(size));
  ReadBox(box.get(), 0);
  return 0;
}
