#include "tlv_box.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

struct T_BoxDeleter {
  void operator()(tlv_box_t* box) const { tlv_box_destroy(box); }
};
using BoxPtr = std::unique_ptr<tlv_box_t, T_BoxDeleter>;

BoxPtr Create() { return BoxPtr(tlv_box_create()); }
BoxPtr Parse(const Bytes& bytes) { return BoxPtr(tlv_box_parse(bytes.data(), static_cast<int>(bytes.size()))); }

Bytes Contents(const tlv_box_t* box) {
  const unsigned char* buffer = tlv_box_get_buffer(box);
  return Bytes(buffer, buffer + tlv_box_get_size(box));
}

// A record as it stands on the wire of a little-endian host.
Bytes Record(std::uint32_t tag, std::uint32_t length, const Bytes& value) {
  Bytes bytes;
  for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<unsigned char>(tag >> (8 * i)));
  for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<unsigned char>(length >> (8 * i)));
  bytes.insert(bytes.end(), value.begin(), value.end());
  return bytes;
}
Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The value under a tag, "absent" when there is none.
std::string Value(const BoxPtr& box, tlv_tag_t tag) {
  const unsigned char* bytes = nullptr;
  unsigned length = 0;
  if (tlv_box_get_bytes_ptr(box.get(), tag, &bytes, &length) != 0) return "absent";
  return std::string(reinterpret_cast<const char*>(bytes), length);
}

}  // namespace

TEST(TlvPut, AStringIsWrittenWithItsClosingZero) {
  const BoxPtr box = Create();
  EXPECT_EQ(tlv_box_put_string(box.get(), 7, "ab"), 0);
  EXPECT_EQ(tlv_box_get_size(box.get()), 11);
  EXPECT_EQ(tlv_box_serialize(box.get()), 0);
  EXPECT_EQ(Contents(box.get()), (Bytes{7, 0, 0, 0, 3, 0, 0, 0, 0x61, 0x62, 0}));
}

namespace {

struct T_PutRow {
  const char* name;
  int (*put)(tlv_box_t* box);
  Bytes value;
};

class TlvPutValue : public testing::TestWithParam<T_PutRow> {};

const unsigned char kThreeBytes[] = {9, 0, 255};

const T_PutRow kPutRows[] = {
    {"char", [](tlv_box_t* box) { return tlv_box_put_char(box, 0x10402, -2); }, {0xfe}},
    {"short", [](tlv_box_t* box) { return tlv_box_put_short(box, 0x10402, 0x0102); }, {2, 1}},
    {"int", [](tlv_box_t* box) { return tlv_box_put_int(box, 0x10402, 0x01020304); }, {4, 3, 2, 1}},
    {"long",
     [](tlv_box_t* box) { return tlv_box_put_long(box, 0x10402, 0x0102030405060708); },
     {8, 7, 6, 5, 4, 3, 2, 1}},
    {"longlong",
     [](tlv_box_t* box) { return tlv_box_put_longlong(box, 0x10402, -2); },
     {0xfe, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}},
    {"float", [](tlv_box_t* box) { return tlv_box_put_float(box, 0x10402, 1.5F); }, {0, 0, 0xc0, 0x3f}},
    {"double", [](tlv_box_t* box) { return tlv_box_put_double(box, 0x10402, 1.5); }, {0, 0, 0, 0, 0, 0, 0xf8, 0x3f}},
    {"string", [](tlv_box_t* box) { return tlv_box_put_string(box, 0x10402, "x"); }, {'x', 0}},
    {"empty_string", [](tlv_box_t* box) { return tlv_box_put_string(box, 0x10402, ""); }, {0}},
    {"bytes", [](tlv_box_t* box) { return tlv_box_put_bytes(box, 0x10402, kThreeBytes, 3); }, {9, 0, 255}},
    {"no_bytes", [](tlv_box_t* box) { return tlv_box_put_bytes(box, 0x10402, nullptr, 0); }, {}},
};

}  // namespace

TEST_P(TlvPutValue, IsWrittenBehindTagAndLength) {
  const BoxPtr box = Create();
  ASSERT_EQ(GetParam().put(box.get()), 0);
  ASSERT_EQ(tlv_box_serialize(box.get()), 0);
  const Bytes& value = GetParam().value;
  EXPECT_EQ(Contents(box.get()), Record(0x10402, static_cast<std::uint32_t>(value.size()), value));
}

INSTANTIATE_TEST_SUITE_P(Rows, TlvPutValue, testing::ValuesIn(kPutRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(TlvPut, AnObjectIsTheInnerBoxesBytes) {
  const BoxPtr inner = Create();
  tlv_box_put_string(inner.get(), 7, "ab");
  tlv_box_serialize(inner.get());
  const BoxPtr outer = Create();
  EXPECT_EQ(tlv_box_put_object(outer.get(), 3, inner.get()), 0);
  tlv_box_serialize(outer.get());
  EXPECT_EQ(Contents(outer.get()), Record(3, 11, Record(7, 3, {'a', 'b', 0})));
}

TEST(TlvPut, AnObjectMustHaveBeenSerialised) {
  const BoxPtr inner = Create();
  const BoxPtr outer = Create();
  EXPECT_EQ(tlv_box_put_object(outer.get(), 3, inner.get()), -1);
  EXPECT_EQ(tlv_box_get_size(outer.get()), 0);
}

TEST(TlvPut, ATagIsTakenOnlyOnce) {
  const BoxPtr box = Create();
  EXPECT_EQ(tlv_box_put_int(box.get(), 7, 1), 0);
  EXPECT_EQ(tlv_box_put_int(box.get(), 7, 2), -1);
  EXPECT_EQ(tlv_box_get_size(box.get()), 12);
  int value = 0;
  EXPECT_EQ(tlv_box_get_int(box.get(), 7, &value), 0);
  EXPECT_EQ(value, 1);
}

TEST(TlvPut, ASerialisedBoxIsClosed) {
  const BoxPtr box = Create();
  tlv_box_serialize(box.get());
  EXPECT_EQ(tlv_box_put_int(box.get(), 7, 1), -1);
  EXPECT_EQ(tlv_box_put_string(box.get(), 7, "x"), -1);
}

TEST(TlvPut, AParsedBoxIsClosed) {
  EXPECT_EQ(tlv_box_put_int(Parse(Record(1, 0, {})).get(), 7, 1), -1);
  EXPECT_EQ(tlv_box_put_int(Parse({}).get(), 7, 1), -1);
}

TEST(TlvPut, ANegativeLengthIsRefused) {
  const BoxPtr box = Create();
  EXPECT_EQ(tlv_box_put_bytes(box.get(), 7, kThreeBytes, -1), -1);
}

TEST(TlvPut, ABoxDoesNotOutgrowAnInt) {
  const BoxPtr box = Create();
  EXPECT_EQ(tlv_box_put_bytes(box.get(), 7, kThreeBytes, INT_MAX - 7), -1);
  tlv_box_put_bytes(box.get(), 8, kThreeBytes, 3);
  EXPECT_EQ(tlv_box_put_bytes(box.get(), 9, kThreeBytes, INT_MAX - 18), -1);
  EXPECT_EQ(tlv_box_get_size(box.get()), 11);
}

TEST(TlvPut, KeepsACopyOfTheValue) {
  const BoxPtr box = Create();
  unsigned char bytes[] = {1, 2};
  tlv_box_put_bytes(box.get(), 7, bytes, 2);
  bytes[0] = 9;
  EXPECT_EQ(Value(box, 7), "\1\2");
}

TEST(TlvSerialize, AnEmptyBoxHasNoBytes) {
  const BoxPtr box = Create();
  EXPECT_EQ(tlv_box_get_buffer(box.get()), nullptr);
  EXPECT_EQ(tlv_box_serialize(box.get()), 0);
  EXPECT_NE(tlv_box_get_buffer(box.get()), nullptr);
  EXPECT_EQ(tlv_box_get_size(box.get()), 0);
}

TEST(TlvSerialize, HappensOnce) {
  const BoxPtr box = Create();
  EXPECT_EQ(tlv_box_serialize(box.get()), 0);
  EXPECT_EQ(tlv_box_serialize(box.get()), -1);
  EXPECT_EQ(tlv_box_serialize(Parse({}).get()), -1);
}

TEST(TlvSerialize, WritesTheRecordsInTheOrderOfThePuts) {
  const BoxPtr box = Create();
  tlv_box_put_char(box.get(), 9, 'a');
  tlv_box_put_char(box.get(), 0xffffffff, 'b');
  tlv_box_put_char(box.get(), 1, 'c');
  tlv_box_serialize(box.get());
  EXPECT_EQ(Contents(box.get()), Record(9, 1, {'a'}) + Record(0xffffffff, 1, {'b'}) + Record(1, 1, {'c'}));
}

TEST(TlvParse, FindsEveryRecord) {
  const BoxPtr box = Parse(Record(1, 1, {'a'}) + Record(0xffffffff, 2, {'b', 'c'}) + Record(3, 0, {}));
  EXPECT_EQ(key_list_count(box->m_list), 3);
  EXPECT_EQ(Value(box, 1), "a");
  EXPECT_EQ(Value(box, 0xffffffff), "bc");
  EXPECT_EQ(Value(box, 3), "");
}

TEST(TlvParse, KeepsACopyOfTheBytes) {
  Bytes bytes = Record(1, 1, {'a'});
  const Bytes before = bytes;
  const BoxPtr box = Parse(bytes);
  bytes[8] = 'x';
  EXPECT_EQ(Contents(box.get()), before);
  EXPECT_EQ(Value(box, 1), "a");
}

TEST(TlvParse, OfTwoRecordsWithTheSameTagTheFirstStays) {
  const BoxPtr box = Parse(Record(1, 1, {'a'}) + Record(1, 1, {'b'}) + Record(2, 1, {'c'}));
  EXPECT_EQ(key_list_count(box->m_list), 2);
  EXPECT_EQ(Value(box, 1), "a");
  EXPECT_EQ(Value(box, 2), "c");
}

TEST(TlvParse, NoBytesAreAnEmptyBox) {
  for (const int size : {0, -1, INT_MIN}) {
    const BoxPtr box(tlv_box_parse(nullptr, size));
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(key_list_count(box->m_list), 0);
    EXPECT_NE(tlv_box_get_buffer(box.get()), nullptr);
    EXPECT_EQ(tlv_box_get_size(box.get()), 0);
  }
}

TEST(TlvParse, TheSizeIsThatOfTheInputEvenWhenItsEndIsDamaged) {
  EXPECT_EQ(tlv_box_get_size(Parse(Record(1, 1, {'a'}) + Bytes{5, 5}).get()), 11);
}

namespace {

struct T_DamageRow {
  const char* name;
  Bytes tail;  // what follows a good record
};

class TlvDamage : public testing::TestWithParam<T_DamageRow> {};

const T_DamageRow kDamageRows[] = {
    {"one_byte", {2}},
    {"half_a_tag", {2, 0}},
    {"a_tag_alone", {2, 0, 0, 0}},
    {"half_a_length", {2, 0, 0, 0, 1, 0}},
    {"seven_bytes", {2, 0, 0, 0, 1, 0, 0}},
    {"no_value", Record(2, 1, {})},
    {"a_value_one_byte_short", Record(2, 4, {'a', 'b', 'c'})},
    {"a_length_of_2_gigabytes_less_one", Record(2, 0x7fffffff, {'a'})},
    {"a_length_of_2_gigabytes", Record(2, 0x80000000, {'a'})},
    {"a_length_that_wraps_the_offset", Record(2, 0xfffffff8, {'a'})},
    {"the_greatest_length", Record(2, 0xffffffff, {'a'})},
    {"a_good_record_behind_the_damage", Record(2, 100, {'a'}) + Record(3, 1, {'b'})},
};

}  // namespace

TEST_P(TlvDamage, EndsTheParseAndTheRecordsBeforeItStay) {
  const BoxPtr box = Parse(Record(1, 1, {'a'}) + GetParam().tail);
  EXPECT_EQ(key_list_count(box->m_list), 1);
  EXPECT_EQ(Value(box, 1), "a");
  EXPECT_EQ(Value(box, 2), "absent");
}

INSTANTIATE_TEST_SUITE_P(Rows, TlvDamage, testing::ValuesIn(kDamageRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(TlvParse, ARecordThatEndsExactlyAtTheEndIsWhole) {
  EXPECT_EQ(Value(Parse(Record(2, 3, {'a', 'b', 'c'})), 2), "abc");
}

TEST(TlvGet, NumbersComeBackAsTheyWerePut) {
  const BoxPtr box = Create();
  tlv_box_put_char(box.get(), 1, -2);
  tlv_box_put_short(box.get(), 2, -300);
  tlv_box_put_int(box.get(), 3, -70000);
  tlv_box_put_long(box.get(), 4, -5000000000L);
  tlv_box_put_longlong(box.get(), 5, LLONG_MIN);
  tlv_box_put_float(box.get(), 6, 0.25F);
  tlv_box_put_double(box.get(), 7, -0.125);
  tlv_box_serialize(box.get());
  const BoxPtr read = Parse(Contents(box.get()));
  char c = 0;
  short s = 0;
  int i = 0;
  long l = 0;
  long long ll = 0;
  float f = 0;
  double d = 0;
  EXPECT_EQ(tlv_box_get_char(read.get(), 1, &c), 0);
  EXPECT_EQ(tlv_box_get_short(read.get(), 2, &s), 0);
  EXPECT_EQ(tlv_box_get_int(read.get(), 3, &i), 0);
  EXPECT_EQ(tlv_box_get_long(read.get(), 4, &l), 0);
  EXPECT_EQ(tlv_box_get_longlong(read.get(), 5, &ll), 0);
  EXPECT_EQ(tlv_box_get_float(read.get(), 6, &f), 0);
  EXPECT_EQ(tlv_box_get_double(read.get(), 7, &d), 0);
  EXPECT_EQ(c, -2);
  EXPECT_EQ(s, -300);
  EXPECT_EQ(i, -70000);
  EXPECT_EQ(l, -5000000000L);
  EXPECT_EQ(ll, LLONG_MIN);
  EXPECT_EQ(f, 0.25F);
  EXPECT_EQ(d, -0.125);
}

TEST(TlvGet, ANumberIsReadFromTheStartOfALongerValue) {
  const BoxPtr box = Parse(Record(1, 6, {4, 3, 2, 1, 9, 9}));
  int value = 0;
  EXPECT_EQ(tlv_box_get_int(box.get(), 1, &value), 0);
  EXPECT_EQ(value, 0x01020304);
}

TEST(TlvGet, AValueTooShortForTheNumberIsRefused) {
  const BoxPtr box =
      Parse(Record(1, 0, {}) + Record(2, 1, {1}) + Record(3, 3, {1, 2, 3}) + Record(4, 7, {1, 2, 3, 4, 5, 6, 7}));
  char c = 77;
  short s = 77;
  int i = 77;
  long l = 77;
  long long ll = 77;
  float f = 77;
  double d = 77;
  EXPECT_EQ(tlv_box_get_char(box.get(), 1, &c), -1);
  EXPECT_EQ(tlv_box_get_short(box.get(), 2, &s), -1);
  EXPECT_EQ(tlv_box_get_int(box.get(), 3, &i), -1);
  EXPECT_EQ(tlv_box_get_float(box.get(), 3, &f), -1);
  EXPECT_EQ(tlv_box_get_long(box.get(), 4, &l), -1);
  EXPECT_EQ(tlv_box_get_longlong(box.get(), 4, &ll), -1);
  EXPECT_EQ(tlv_box_get_double(box.get(), 4, &d), -1);
  EXPECT_TRUE(c == 77 && s == 77 && i == 77 && l == 77 && ll == 77 && f == 77 && d == 77);
}

TEST(TlvGet, AnAbsentTagIsRefusedEverywhere) {
  const BoxPtr box = Create();
  char c;
  short s;
  int i;
  long l;
  long long ll;
  float f;
  double d;
  unsigned length = 1;
  unsigned char byte;
  const unsigned char* bytes;
  tlv_box_t* inner = nullptr;
  EXPECT_EQ(tlv_box_get_char(box.get(), 1, &c), -1);
  EXPECT_EQ(tlv_box_get_short(box.get(), 1, &s), -1);
  EXPECT_EQ(tlv_box_get_int(box.get(), 1, &i), -1);
  EXPECT_EQ(tlv_box_get_long(box.get(), 1, &l), -1);
  EXPECT_EQ(tlv_box_get_longlong(box.get(), 1, &ll), -1);
  EXPECT_EQ(tlv_box_get_float(box.get(), 1, &f), -1);
  EXPECT_EQ(tlv_box_get_double(box.get(), 1, &d), -1);
  EXPECT_EQ(tlv_box_get_string(box.get(), 1, &c, &length), -1);
  EXPECT_EQ(tlv_box_get_bytes(box.get(), 1, &byte, &length), -1);
  EXPECT_EQ(tlv_box_get_bytes_ptr(box.get(), 1, &bytes, &length), -1);
  EXPECT_EQ(tlv_box_get_object(box.get(), 1, &inner), -1);
  EXPECT_EQ(inner, nullptr);
  EXPECT_EQ(length, 1U);
}

TEST(TlvGet, AStringFitsIntoRoomOfItsOwnLength) {
  const BoxPtr box = Create();
  tlv_box_put_string(box.get(), 7, "ab");
  char buffer[4] = {'x', 'x', 'x', 'x'};
  unsigned length = 3;
  EXPECT_EQ(tlv_box_get_string(box.get(), 7, buffer, &length), 0);
  EXPECT_EQ(length, 3U);
  EXPECT_STREQ(buffer, "ab");
  EXPECT_EQ(buffer[3], 'x');
}

TEST(TlvGet, RoomOneByteShortIsRefusedAndLeftAlone) {
  const BoxPtr box = Create();
  tlv_box_put_string(box.get(), 7, "ab");
  char buffer[2] = {'x', 'x'};
  unsigned length = 2;
  EXPECT_EQ(tlv_box_get_string(box.get(), 7, buffer, &length), -1);
  EXPECT_EQ(length, 2U);
  EXPECT_EQ(std::string(buffer, 2), "xx");
}

TEST(TlvGet, BytesTellTheirLength) {
  const BoxPtr box = Parse(Record(7, 3, {1, 0, 2}));
  unsigned char buffer[8] = {};
  unsigned length = sizeof buffer;
  EXPECT_EQ(tlv_box_get_bytes(box.get(), 7, buffer, &length), 0);
  EXPECT_EQ(Bytes(buffer, buffer + length), (Bytes{1, 0, 2}));
}

TEST(TlvGet, BytesOfLengthZeroNeedNoRoom) {
  const BoxPtr box = Parse(Record(7, 0, {}));
  unsigned length = 0;
  EXPECT_EQ(tlv_box_get_bytes(box.get(), 7, nullptr, &length), 0);
}

TEST(TlvGet, APointerPointsIntoTheBox) {
  const BoxPtr box = Parse(Record(7, 2, {'a', 'b'}));
  const unsigned char* bytes = nullptr;
  unsigned length = 0;
  EXPECT_EQ(tlv_box_get_bytes_ptr(box.get(), 7, &bytes, &length), 0);
  EXPECT_EQ(bytes, tlv_box_get_node(box.get(), 7)->value);
  EXPECT_EQ(length, 2U);
}

TEST(TlvGet, AnObjectIsABoxOfItsOwn) {
  BoxPtr outer = Parse(Record(3, 11, Record(7, 3, {'a', 'b', 0})));
  tlv_box_t* inner = nullptr;
  ASSERT_EQ(tlv_box_get_object(outer.get(), 3, &inner), 0);
  const BoxPtr owned(inner);
  outer.reset();
  EXPECT_EQ(Value(owned, 7), std::string("ab\0", 3));
}

TEST(TlvGet, AnObjectOfAnyBytesIsABoxOfTheWholeRecordsInIt) {
  const BoxPtr outer = Parse(Record(3, 4, {'{', '}', ' ', 0}));
  tlv_box_t* inner = nullptr;
  ASSERT_EQ(tlv_box_get_object(outer.get(), 3, &inner), 0);
  EXPECT_EQ(key_list_count(BoxPtr(inner)->m_list), 0);
}

TEST(TlvNode, IsTheRecordUnderItsTag) {
  const BoxPtr box = Parse(Record(0x10402, 1, {'a'}));
  const tlv_t* node = tlv_box_get_node(box.get(), 0x10402);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->tag, 0x10402U);
  EXPECT_EQ(node->length, 1U);
  EXPECT_EQ(tlv_box_get_node(box.get(), 1), nullptr);
}

TEST(TlvNode, OfAMaskIsTheFirstThatAgreesInItsBits) {
  const BoxPtr box = Parse(Record(0x10402, 1, {'a'}) + Record(0xf0020402, 1, {'b'}));
  EXPECT_EQ(tlv_box_get_mask_node(box.get(), 0x0402, 0xffff)->tag, 0x10402U);
  EXPECT_EQ(tlv_box_get_mask_node(box.get(), 0xf0000000, 0xf0000000)->tag, 0xf0020402U);
  EXPECT_EQ(tlv_box_get_mask_node(box.get(), 0x0503, 0xffff), nullptr);
}

TEST(TlvPacket, WrapsItsDataTwice) {
  Bytes sent;
  int sends = 0;
  const unsigned char data[] = {'a', 'b', 0};
  EXPECT_EQ(tlv_packet(3, 7, data, 3,
                       [&](const unsigned char* bytes, int size) {
                         sent.assign(bytes, bytes + size);
                         ++sends;
                       }),
            0);
  EXPECT_EQ(sends, 1);
  EXPECT_EQ(sent, Record(3, 11, Record(7, 3, {'a', 'b', 0})));
}

TEST(TlvPacket, NeedsNobodyToSendTo) { EXPECT_EQ(tlv_packet(3, 7, nullptr, 0, nullptr), 0); }

TEST(TlvBox, DestroyTakesNoBoxAtAll) { EXPECT_EQ(tlv_box_destroy(nullptr), 0); }
