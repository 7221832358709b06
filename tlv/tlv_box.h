// TLV boxes: the messages between cmd_core and the process. The wire format, byte by byte: docs/wire-formats.md.
//
// A box is a flat sequence of records (tag, length, value) with unique tags, in the order in which they were put or
// parsed; a value may itself be a serialised box. Plain functions over plain structures, 0 for success and -1 for
// failure, nothing is logged. A box belongs to one thread at a time. Input of any shape is safe: what a length promises
// is compared with what is there before anything is copied.
#pragma once

#include <cstdint>
#include <functional>

#include "key_list.h"

using tlv_tag_t = std::uint32_t;

// One record, with its own copy of the value.
struct tlv_t {
  tlv_tag_t tag;
  std::uint32_t length;
  unsigned char* value;
};

struct tlv_box_t {
  key_list_t* m_list;                  // of tlv_t, by tag
  unsigned char* m_serialized_buffer;  // once serialised or parsed; null before
  int m_serialized_bytes;              // the box's size, growing with each put
};

// What tlv_packet hands the finished bytes to; they live until it returns.
using tlv_sender = std::function<void(const unsigned char* bytes, int size)>;

// The caller destroys what these two give.
tlv_box_t* tlv_box_create();

// A box with a private copy of the bytes and one record for each in them. A record whose header or value would run past
// the end closes the parse: those before it stay. Of records with the same tag the first stays. Never null.
tlv_box_t* tlv_box_parse(const unsigned char* bytes, int size);

// Null is allowed.
int tlv_box_destroy(tlv_box_t* box);

// Frees a record and its value: the releaser of a box's list.
void tlv_box_release_tlv(value_t record);

// Put a copy of a value under a tag. -1 if the box has been serialised or parsed, if the tag is there already, or if
// the box would outgrow an int. Integers and floating-point numbers are written in the host's byte order.
int tlv_box_put_char(tlv_box_t* box, tlv_tag_t tag, char value);
int tlv_box_put_short(tlv_box_t* box, tlv_tag_t tag, short value);
int tlv_box_put_int(tlv_box_t* box, tlv_tag_t tag, int value);
int tlv_box_put_long(tlv_box_t* box, tlv_tag_t tag, long value);  // 8 bytes
int tlv_box_put_longlong(tlv_box_t* box, tlv_tag_t tag, long long value);
int tlv_box_put_float(tlv_box_t* box, tlv_tag_t tag, float value);
int tlv_box_put_double(tlv_box_t* box, tlv_tag_t tag, double value);
int tlv_box_put_string(tlv_box_t* box, tlv_tag_t tag, const char* text);  // with its closing zero
int tlv_box_put_bytes(tlv_box_t* box, tlv_tag_t tag, const unsigned char* bytes, int length);
int tlv_box_put_object(tlv_box_t* box, tlv_tag_t tag, const tlv_box_t* inner);  // inner must have been serialised

// Writes the records in their order into the box's buffer and closes the box to puts. -1 if that was done before.
int tlv_box_serialize(tlv_box_t* box);

// The serialised or parsed bytes, which belong to the box (null before), and the box's size.
unsigned char* tlv_box_get_buffer(const tlv_box_t* box);
int tlv_box_get_size(const tlv_box_t* box);

// Read a number from the start of a record's value. -1, with *value left alone, if the tag is absent or the value is
// too short.
int tlv_box_get_char(const tlv_box_t* box, tlv_tag_t tag, char* value);
int tlv_box_get_short(const tlv_box_t* box, tlv_tag_t tag, short* value);
int tlv_box_get_int(const tlv_box_t* box, tlv_tag_t tag, int* value);
int tlv_box_get_long(const tlv_box_t* box, tlv_tag_t tag, long* value);
int tlv_box_get_longlong(const tlv_box_t* box, tlv_tag_t tag, long long* value);
int tlv_box_get_float(const tlv_box_t* box, tlv_tag_t tag, float* value);
int tlv_box_get_double(const tlv_box_t* box, tlv_tag_t tag, double* value);

// Copy a value out. *length is the room in buffer on entry and the value's length afterwards. -1 if the tag is absent
// or the room too small; buffer and *length are then left alone. A string from tlv_box_put_string carries its closing
// zero; one from the wire may come without.
int tlv_box_get_string(const tlv_box_t* box, tlv_tag_t tag, char* buffer, unsigned* length);
int tlv_box_get_bytes(const tlv_box_t* box, tlv_tag_t tag, unsigned char* buffer, unsigned* length);

// A view of a value; it lives as long as the box.
int tlv_box_get_bytes_ptr(const tlv_box_t* box, tlv_tag_t tag, const unsigned char** bytes, unsigned* length);

// A new box parsed from a value; the caller destroys it. -1, with *inner left alone, if the tag is absent.
int tlv_box_get_object(const tlv_box_t* box, tlv_tag_t tag, tlv_box_t** inner);

// The record under a tag, and the first whose tag agrees with tag in every bit of mask; null if there is none. The box
// keeps it.
const tlv_t* tlv_box_get_node(const tlv_box_t* box, tlv_tag_t tag);
const tlv_t* tlv_box_get_mask_node(const tlv_box_t* box, tlv_tag_t tag, tlv_tag_t mask);

// Wraps data under innerTag in a box, and that box under outerTag in another, and hands the bytes to send, if there is
// one. 0.
int tlv_packet(tlv_tag_t outerTag, tlv_tag_t innerTag, const unsigned char* data, int length, const tlv_sender& send);
