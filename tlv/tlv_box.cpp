#include "tlv_box.h"

#include <climits>
#include <cstring>
#include <memory>

namespace {

constexpr unsigned kHeaderBytes = 8;  // tag and length

struct T_BoxDeleter {
  void operator()(tlv_box_t* box) const { tlv_box_destroy(box); }
};
using BoxPtr = std::unique_ptr<tlv_box_t, T_BoxDeleter>;

struct T_RecordDeleter {
  void operator()(tlv_t* record) const { tlv_box_release_tlv(record); }
};
using RecordPtr = std::unique_ptr<tlv_t, T_RecordDeleter>;

void CopyBytes(unsigned char* to, const void* from, std::size_t count) {
  if (count != 0) std::memcpy(to, from, count);
}

RecordPtr NewRecord(tlv_tag_t tag, const void* value, std::uint32_t length) {
  RecordPtr record(new tlv_t{tag, length, nullptr});
  record->value = new unsigned char[length];
  CopyBytes(record->value, value, length);
  return record;
}

int AddRecord(tlv_box_t* box, tlv_tag_t tag, const void* value, std::uint32_t length) {
  RecordPtr record = NewRecord(tag, value, length);
  if (key_list_add(box->m_list, static_cast<key_t>(tag), record.get()) != 0) return -1;
  static_cast<void>(record.release());  // the list has it now
  return 0;
}

int PutValue(tlv_box_t* box, tlv_tag_t tag, const void* value, std::size_t length) {
  if (box->m_serialized_buffer != nullptr) return -1;
  const auto room = static_cast<std::size_t>(INT_MAX - box->m_serialized_bytes);
  if (room < kHeaderBytes || length > room - kHeaderBytes) return -1;
  if (AddRecord(box, tag, value, static_cast<std::uint32_t>(length)) != 0) return -1;
  box->m_serialized_bytes += static_cast<int>(kHeaderBytes + length);
  return 0;
}

template <typename Wire, typename Value>
int PutNumber(tlv_box_t* box, tlv_tag_t tag, Value value) {
  const Wire wire = static_cast<Wire>(value);
  return PutValue(box, tag, &wire, sizeof wire);
}

template <typename Wire, typename Value>
int GetNumber(const tlv_box_t* box, tlv_tag_t tag, Value* value) {
  const tlv_t* record = tlv_box_get_node(box, tag);
  Wire wire;
  if (record == nullptr || record->length < sizeof wire) return -1;
  std::memcpy(&wire, record->value, sizeof wire);
  *value = static_cast<Value>(wire);
  return 0;
}

void ParseRecords(tlv_box_t* box, const unsigned char* bytes, std::size_t size) {
  std::size_t offset = 0;
  while (size - offset >= kHeaderBytes) {
    std::uint32_t tag;
    std::uint32_t length;
    std::memcpy(&tag, bytes + offset, sizeof tag);
    std::memcpy(&length, bytes + offset + sizeof tag, sizeof length);
    offset += kHeaderBytes;
    if (length > size - offset) return;
    if (key_list_find_key(box->m_list, static_cast<key_t>(tag)) == 0) AddRecord(box, tag, bytes + offset, length);
    offset += length;
  }
}

}  // namespace

tlv_box_t* tlv_box_create() {
  BoxPtr box(new tlv_box_t{nullptr, nullptr, 0});
  box->m_list = key_list_create(tlv_box_release_tlv);
  return box.release();
}

tlv_box_t* tlv_box_parse(const unsigned char* bytes, int size) {
  BoxPtr box(tlv_box_create());
  const std::size_t count = size > 0 ? static_cast<std::size_t>(size) : 0;
  box->m_serialized_buffer = new unsigned char[count];
  box->m_serialized_bytes = static_cast<int>(count);
  CopyBytes(box->m_serialized_buffer, bytes, count);
  ParseRecords(box.get(), box->m_serialized_buffer, count);
  return box.release();
}

int tlv_box_destroy(tlv_box_t* box) {
  if (box == nullptr) return 0;
  key_list_destroy(box->m_list);
  delete[] box->m_serialized_buffer;
  delete box;
  return 0;
}

void tlv_box_release_tlv(value_t record) {
  auto* tlv = static_cast<tlv_t*>(record);
  delete[] tlv->value;
  delete tlv;
}

int tlv_box_put_char(tlv_box_t* box, tlv_tag_t tag, char value) { return PutNumber<char>(box, tag, value); }

int tlv_box_put_short(tlv_box_t* box, tlv_tag_t tag, short value) { return PutNumber<std::int16_t>(box, tag, value); }

int tlv_box_put_int(tlv_box_t* box, tlv_tag_t tag, int value) { return PutNumber<std::int32_t>(box, tag, value); }

int tlv_box_put_long(tlv_box_t* box, tlv_tag_t tag, long value) { return PutNumber<std::int64_t>(box, tag, value); }

int tlv_box_put_longlong(tlv_box_t* box, tlv_tag_t tag, long long value) {
  return PutNumber<std::int64_t>(box, tag, value);
}

int tlv_box_put_float(tlv_box_t* box, tlv_tag_t tag, float value) { return PutNumber<float>(box, tag, value); }

int tlv_box_put_double(tlv_box_t* box, tlv_tag_t tag, double value) { return PutNumber<double>(box, tag, value); }

int tlv_box_put_string(tlv_box_t* box, tlv_tag_t tag, const char* text) {
  return PutValue(box, tag, text, std::strlen(text) + 1);
}

int tlv_box_put_bytes(tlv_box_t* box, tlv_tag_t tag, const unsigned char* bytes, int length) {
  if (length < 0) return -1;
  return PutValue(box, tag, bytes, static_cast<std::size_t>(length));
}

int tlv_box_put_object(tlv_box_t* box, tlv_tag_t tag, const tlv_box_t* inner) {
  if (inner->m_serialized_buffer == nullptr) return -1;
  return tlv_box_put_bytes(box, tag, inner->m_serialized_buffer, inner->m_serialized_bytes);
}

int tlv_box_serialize(tlv_box_t* box) {
  if (box->m_serialized_buffer != nullptr) return -1;
  box->m_serialized_buffer = new unsigned char[static_cast<std::size_t>(box->m_serialized_bytes)]();
  unsigned char* at = box->m_serialized_buffer;
  for (const key_list_node_t* node = box->m_list->header; node != nullptr; node = node->next) {
    const auto* record = static_cast<const tlv_t*>(node->value);
    std::memcpy(at, &record->tag, sizeof record->tag);
    std::memcpy(at + sizeof record->tag, &record->length, sizeof record->length);
    CopyBytes(at + kHeaderBytes, record->value, record->length);
    at += kHeaderBytes + record->length;
  }
  return 0;
}

unsigned char* tlv_box_get_buffer(const tlv_box_t* box) { return box->m_serialized_buffer; }

int tlv_box_get_size(const tlv_box_t* box) { return box->m_serialized_bytes; }

int tlv_box_get_char(const tlv_box_t* box, tlv_tag_t tag, char* value) { return GetNumber<char>(box, tag, value); }

int tlv_box_get_short(const tlv_box_t* box, tlv_tag_t tag, short* value) {
  return GetNumber<std::int16_t>(box, tag, value);
}

int tlv_box_get_int(const tlv_box_t* box, tlv_tag_t tag, int* value) {
  return GetNumber<std::int32_t>(box, tag, value);
}

int tlv_box_get_long(const tlv_box_t* box, tlv_tag_t tag, long* value) {
  return GetNumber<std::int64_t>(box, tag, value);
}

int tlv_box_get_longlong(const tlv_box_t* box, tlv_tag_t tag, long long* value) {
  return GetNumber<std::int64_t>(box, tag, value);
}

int tlv_box_get_float(const tlv_box_t* box, tlv_tag_t tag, float* value) { return GetNumber<float>(box, tag, value); }

int tlv_box_get_double(const tlv_box_t* box, tlv_tag_t tag, double* value) {
  return GetNumber<double>(box, tag, value);
}

int tlv_box_get_string(const tlv_box_t* box, tlv_tag_t tag, char* buffer, unsigned* length) {
  return tlv_box_get_bytes(box, tag, reinterpret_cast<unsigned char*>(buffer), length);
}

int tlv_box_get_bytes(const tlv_box_t* box, tlv_tag_t tag, unsigned char* buffer, unsigned* length) {
  const tlv_t* record = tlv_box_get_node(box, tag);
  if (record == nullptr || *length < record->length) return -1;
  CopyBytes(buffer, record->value, record->length);
  *length = record->length;
  return 0;
}

int tlv_box_get_bytes_ptr(const tlv_box_t* box, tlv_tag_t tag, const unsigned char** bytes, unsigned* length) {
  const tlv_t* record = tlv_box_get_node(box, tag);
  if (record == nullptr) return -1;
  *bytes = record->value;
  *length = record->length;
  return 0;
}

int tlv_box_get_object(const tlv_box_t* box, tlv_tag_t tag, tlv_box_t** inner) {
  const tlv_t* record = tlv_box_get_node(box, tag);
  if (record == nullptr || record->length > INT_MAX) return -1;
  *inner = tlv_box_parse(record->value, static_cast<int>(record->length));
  return 0;
}

const tlv_t* tlv_box_get_node(const tlv_box_t* box, tlv_tag_t tag) {
  return tlv_box_get_mask_node(box, tag, ~tlv_tag_t{0});
}

const tlv_t* tlv_box_get_mask_node(const tlv_box_t* box, tlv_tag_t tag, tlv_tag_t mask) {
  value_t value = nullptr;
  if (key_list_mask_get(box->m_list, static_cast<key_t>(tag), static_cast<key_t>(mask), &value) != 0) return nullptr;
  return static_cast<const tlv_t*>(value);
}

int tlv_packet(tlv_tag_t outerTag, tlv_tag_t innerTag, const unsigned char* data, int length, const tlv_sender& send) {
  const BoxPtr inner(tlv_box_create());
  tlv_box_put_bytes(inner.get(), innerTag, data, length);
  tlv_box_serialize(inner.get());
  const BoxPtr outer(tlv_box_create());
  tlv_box_put_object(outer.get(), outerTag, inner.get());
  tlv_box_serialize(outer.get());
  if (send) send(tlv_box_get_buffer(outer.get()), tlv_box_get_size(outer.get()));
  return 0;
}
