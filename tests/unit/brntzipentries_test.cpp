#include "brntzipentries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "testfiles.h"
#include "zipwriter.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ZipEntries : public testing::Test {
 protected:
  ~ZipEntries() override { unlink(kPath); }

  static std::optional<std::vector<T_ZipEntry>> Read(const std::string& bytes) {
    WriteFile(kPath, bytes);
    return ReadZipEntries(kPath);
  }
  static std::vector<std::string> Names(const std::string& bytes) {
    std::vector<std::string> names;
    const auto entries = Read(bytes);
    EXPECT_TRUE(entries.has_value());
    if (!entries.has_value()) return names;
    for (const T_ZipEntry& entry : *entries) names.push_back(entry.strName);
    return names;
  }
  static std::string Two() { return ZipOf({{"a/", ""}, {"a/b.txt", "content"}}); }

  static constexpr char kPath[] = "/tmp/entries.zip";
};

TEST_F(ZipEntries, NamesStandAsInTheArchive) {
  EXPECT_THAT(Names(ZipOf({{"a/", ""}, {"a/b.txt", "content"}, {"../x", ""}, {"/y", ""}, {"", ""}})),
              ElementsAre("a/", "a/b.txt", "../x", "/y", ""));
}

TEST_F(ZipEntries, AnEmptyArchiveHasNone) { EXPECT_THAT(Names(ZipOf({})), IsEmpty()); }

TEST_F(ZipEntries, LinksAndEncryptedEntriesAreTold) {
  const auto entries = Read(ZipOf({{"plain", "x"}, {"link", "/etc", 0, 0120777}, {"secret", "x", 1}}));
  ASSERT_TRUE(entries.has_value());
  EXPECT_FALSE(entries->at(0).bLink || entries->at(0).bEncrypted);
  EXPECT_TRUE(entries->at(1).bLink);
  EXPECT_TRUE(entries->at(2).bEncrypted);
}

TEST_F(ZipEntries, LinksOfEverySystemThatUnzipMakesLinksOfAreTold) {
  for (const char system : {'\x02', '\x03', '\x05', '\x10', '\x1e'}) {
    std::string archive = ZipOf({{"x", "x", 0, 0120777}});
    archive[archive.find("PK\x01\x02") + 5] = system;
    const auto entries = Read(archive);
    ASSERT_TRUE(entries.has_value());
    EXPECT_TRUE(entries->at(0).bLink) << static_cast<int>(system);
  }
}

TEST_F(ZipEntries, AModeOfDosIsNoLink) {
  std::string archive = ZipOf({{"x", "x", 0, 0120777}});
  archive[archive.find("PK\x01\x02") + 5] = 0;  // made by DOS, where these bits mean nothing
  const auto entries = Read(archive);
  ASSERT_TRUE(entries.has_value());
  EXPECT_FALSE(entries->at(0).bLink);
}

TEST_F(ZipEntries, BytesAroundTheArchiveDoNotMatter) {
  EXPECT_THAT(Names("signature, 16 B." + Two()), ElementsAre("a/", "a/b.txt"));
  EXPECT_THAT(Names(Two() + std::string(65535, 'x')), ElementsAre("a/", "a/b.txt"));
}

TEST_F(ZipEntries, AnArchiveMayEndInAComment) { EXPECT_THAT(Names(ZipOf({{"a", ""}}, "a comment")), ElementsAre("a")); }

TEST_F(ZipEntries, AnArchiveCutShortAnywhereIsNone) {
  const std::string whole = Two();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(Read(whole.substr(0, length)).has_value()) << length;
  }
  EXPECT_TRUE(Read(whole).has_value());
}

TEST_F(ZipEntries, DamagedDirectoriesAreNone) {
  const std::string whole = Two();
  const std::size_t end = whole.rfind("PK\x05\x06");
  const std::size_t entry = whole.find("PK\x01\x02");
  const struct {
    std::size_t at;
    std::string bytes;
  } damages[] = {
      {end + 10, "\x03"},                              // one entry more than there is
      {end + 10, "\xff\xff"},                          // the mark of the 64-bit form
      {end + 12, std::string("\xff\xff\xff\xff", 4)},  // a directory longer than the file
      {entry, "PX"},                                   // no entry where one must be
      {entry + 28, "\xff\xff"},                        // a name longer than the directory
      {entry + 30, "\xff\xff"},                        // and so the extra field
  };
  for (const auto& damage : damages) {
    std::string archive = whole;
    archive.replace(damage.at, damage.bytes.size(), damage.bytes);
    EXPECT_FALSE(Read(archive).has_value()) << damage.at;
  }
}

TEST_F(ZipEntries, WhatIsNoFileIsNone) {
  EXPECT_FALSE(ReadZipEntries("/tmp/no such archive").has_value());
  EXPECT_FALSE(ReadZipEntries("/tmp").has_value());
  EXPECT_FALSE(ReadZipEntries("/dev/zero").has_value());
  ASSERT_EQ(mkfifo(kPath, 0600), 0);
  EXPECT_FALSE(ReadZipEntries(kPath).has_value());
}

TEST_F(ZipEntries, AnotherFileIsNone) {
  EXPECT_FALSE(Read("not a zip archive, but longer than the record at the end of one").has_value());
}

}  // namespace
