// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>

#include "Platform/linux/system/PlistPropertyLists.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using platform::PropertyList;
using platform::PropertyListValue;
using ::testing::ElementsAre;
using ::testing::Pair;

constexpr std::size_t kLimit = 1024UL * 1024;

std::string xml(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
         "<plist version=\"1.0\">\n" +
         body + "\n</plist>\n";
}

std::string entry(const std::string& value) { return xml("<dict><key>k</key>" + value + "</dict>"); }

std::string repeated(const std::string& text, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

std::string bigEndian(std::uint64_t value, int bytes) {
  std::string text;
  for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) text += static_cast<char>(value >> shift & 0xffU);
  return text;
}

/// A binary property list of the given objects, whose references are two bytes wide; the first is the top.
std::string binary(const std::vector<std::string>& objects) {
  std::string bytes = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += bigEndian(bytes.size(), 4);
    bytes += object;
  }
  const std::size_t tableOffset = bytes.size();
  bytes += table + std::string(6, '\0') + '\4' + '\2';
  return bytes + bigEndian(objects.size(), 8) + bigEndian(0, 8) + bigEndian(tableOffset, 8);
}

std::string reference(std::size_t object) { return bigEndian(object, 2); }
std::string binaryDict(std::size_t key, std::size_t value) { return "\xd1" + reference(key) + reference(value); }

class PropertyLists : public ::testing::Test {
 protected:
  PropertyLists() {
    char pattern[] = "/tmp/property-lists-XXXXXX";
    folder_ = ::mkdtemp(pattern);
    path_ = folder_ + "/a.plist";
  }
  ~PropertyLists() override { std::filesystem::remove_all(folder_); }

  std::optional<PropertyList> parse(const std::string& bytes) {
    std::ofstream(path_, std::ios::binary) << bytes;
    return lists_.read(path_);
  }
  PropertyListValue value(const std::string& element) {
    const auto list = parse(entry(element));
    return list && list->count("k") == 1 ? list->at("k") : PropertyListValue("no such entry");
  }

  std::string folder_;
  std::string path_;
  linux_::PlistPropertyLists lists_;
};

TEST_F(PropertyLists, ReadEveryKindOfTextForm) {
  EXPECT_EQ(value("<string>1</string>"), PropertyListValue("1"));
  EXPECT_EQ(value("<string></string>"), PropertyListValue(""));
  EXPECT_EQ(value("<string/>"), PropertyListValue(""));
  EXPECT_EQ(value("<string>a &lt;b&gt; &amp; \xc3\xa4</string>"), PropertyListValue("a <b> & \xc3\xa4"));
  EXPECT_EQ(value("<true/>"), PropertyListValue(true));
  EXPECT_EQ(value("<false/>"), PropertyListValue(false));
  EXPECT_EQ(value("<integer>1</integer>"), PropertyListValue(std::int64_t{1}));
  EXPECT_EQ(value("<integer>-5</integer>"), PropertyListValue(std::int64_t{-5}));
  EXPECT_EQ(value("<real>2.5</real>"), PropertyListValue(2.5));
}

TEST_F(PropertyLists, KeepTheOtherKindsAsPresent) {
  const PropertyListValue present;
  EXPECT_EQ(value("<data>AAEC</data>"), present);
  EXPECT_EQ(value("<date>2024-02-29T23:05:07Z</date>"), present);
  EXPECT_EQ(value("<array><string>x</string></array>"), present);
  EXPECT_EQ(value("<dict><key>x</key><true/></dict>"), present);
}

TEST_F(PropertyLists, ReadSeveralEntries) {
  EXPECT_EQ(parse(xml("<dict><key>a</key><string>1</string><key>b</key><true/></dict>")),
            (PropertyList{{"a", "1"}, {"b", true}}));
  EXPECT_EQ(parse(xml("<dict></dict>")), PropertyList());
  EXPECT_EQ(parse(xml("<dict/>")), PropertyList());
}

TEST_F(PropertyLists, ReadTheBinaryForm) {
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", "\x51\x31"})), (PropertyList{{"k", "1"}}));
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", "\x09"})), (PropertyList{{"k", true}}));
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", std::string("\x10\x01")})),
            (PropertyList{{"k", std::int64_t{1}}}));
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", "\x13" + std::string(8, '\xff')})),
            (PropertyList{{"k", std::int64_t{-1}}}));
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", std::string("\x23\x40\x04\0\0\0\0\0\0", 9)})),
            (PropertyList{{"k", 2.5}}));
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", std::string("\x61\0\xe4", 3)})),
            (PropertyList{{"k", "\xc3\xa4"}}));
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", std::string("\x5f\x10\x14") + std::string(20, 'x')})),
            (PropertyList{{"k", std::string(20, 'x')}}));
  EXPECT_EQ(parse(binary({"\xd0"})), PropertyList());
}

TEST_F(PropertyLists, AreNoneWithoutADictionaryAtTheTop) {
  EXPECT_EQ(parse(xml("<array><string>x</string></array>")), std::nullopt);
  EXPECT_EQ(parse(xml("<string>x</string>")), std::nullopt);
  EXPECT_EQ(parse(binary({"\x51k"})), std::nullopt);
  EXPECT_EQ(parse(binary({std::string("\xa1") + reference(1), "\x51k"})), std::nullopt);
}

TEST_F(PropertyLists, AreNoneInAFileThatIsNone) {
  for (const char* text :
       {"", "x", "bplist", "bplist00", "plain text", "<html></html>", "<?xml version=\"1.0\"?>", "{ k = 1; }", "<plist",
        "<plist><dict><key>k", "<!--", "<plist><dict><key>k</key><string>1</string>"}) {
    EXPECT_EQ(parse(text), std::nullopt) << text;
  }
  EXPECT_EQ(parse(std::string(1000, '\0')), std::nullopt);
  EXPECT_EQ(parse("bplist00" + std::string(100, '\xff')), std::nullopt);
}

TEST_F(PropertyLists, AreNoneInATextThatIsCutInsideItsDictionary) {
  const std::string whole = xml("<dict><key>k</key><string>1</string><key>l</key><integer>2</integer></dict>");
  ASSERT_NE(parse(whole), std::nullopt);
  for (std::size_t length = 0; length < whole.find("</dict>"); ++length) {
    EXPECT_EQ(parse(whole.substr(0, length)), std::nullopt) << length;
  }
}

TEST_F(PropertyLists, AreNoneInABinaryThatIsCut) {
  const std::string whole = binary({binaryDict(1, 2), "\x51k", "\x51\x31"});
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(parse(whole.substr(0, length)), std::nullopt) << length;
  }
}

TEST_F(PropertyLists, SurviveEveryFlippedBit) {
  const std::string whole =
      binary({binaryDict(1, 2), "\x51k", std::string("\xa2") + reference(3) + reference(4), "\x51x", "\x10\x01"});
  int dictionaries = 0;
  int refused = 0;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (unsigned bit = 0; bit < 8; ++bit) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(static_cast<unsigned char>(bytes[at]) ^ (1U << bit));
      ++(parse(bytes) ? dictionaries : refused);
    }
  }
  EXPECT_GT(dictionaries, 0);
  EXPECT_GT(refused, 0);
  EXPECT_NE(parse(whole), std::nullopt);
}

TEST_F(PropertyLists, RefuseABinaryThatContainsItself) {
  EXPECT_EQ(parse(binary({binaryDict(1, 0), "\x51k"})), std::nullopt);
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", std::string("\xa1") + reference(0)})), std::nullopt);
}

TEST_F(PropertyLists, RefuseABinaryThatUnfoldsWithoutEnd) {
  std::vector<std::string> objects{binaryDict(1, 2), "\x51k"};
  for (std::size_t i = 2; i < 40; ++i) objects.push_back("\xa2" + reference(i + 1) + reference(i + 1));
  objects.emplace_back("\x09");
  EXPECT_EQ(parse(binary(objects)), std::nullopt);
}

TEST_F(PropertyLists, RefuseABinaryWhoseSharedTextUnfoldsToTooMuch) {
  for (const std::string marker : {"\x4f", "\x5f", "\x6f"}) {
    const std::size_t units = marker == "\x6f" ? 450000 : 900000;
    const std::string text = marker + "\x12" + bigEndian(units, 4) + std::string(900000, 'x');
    const auto sharing = [&](std::size_t times) {
      std::string array = "\xaf\x11" + bigEndian(times, 2);
      for (std::size_t i = 0; i < times; ++i) array += reference(3);
      return binary({binaryDict(1, 2), "\x51k", array, text});
    };
    EXPECT_NE(parse(sharing(2)), std::nullopt);
    EXPECT_EQ(parse(sharing(5)), std::nullopt);
  }
}

TEST_F(PropertyLists, RefuseABinaryWhoseSharedKeyUnfoldsToTooMuch) {
  const std::string key = "\x5f\x12" + bigEndian(900000, 4) + std::string(900000, 'x');
  const auto sharing = [&](std::size_t times) {
    std::string dictionary = "\xdf\x11" + bigEndian(times, 2);
    for (const std::size_t object : {std::size_t{1}, std::size_t{2}}) {
      for (std::size_t i = 0; i < times; ++i) dictionary += reference(object);
    }
    return binary({dictionary, key, "\x09"});
  };
  EXPECT_NE(parse(sharing(1)), std::nullopt);
  EXPECT_EQ(parse(sharing(5)), std::nullopt);
}

TEST_F(PropertyLists, RefuseABinaryThatIsNestedTooDeeply) {
  std::vector<std::string> objects{binaryDict(1, 2), "\x51k"};
  for (std::size_t i = 2; i < 30000; ++i) objects.push_back("\xa1" + reference(i + 1));
  objects.emplace_back("\x09");
  EXPECT_EQ(parse(binary(objects)), std::nullopt);
}

TEST_F(PropertyLists, RefuseLengthsThatReachBeyondTheFile) {
  const std::string huge = "\x13" + std::string(8, '\x7f');
  for (const std::string marker : {"\x4f", "\x5f", "\x6f", "\xaf", "\xdf"}) {
    EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", marker + huge})), std::nullopt);
  }
  EXPECT_EQ(parse(binary({binaryDict(1, 9), "\x51k"})), std::nullopt);
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x51k", "\x5f\x51x"})), std::nullopt);
}

TEST_F(PropertyLists, RefuseABinaryWhoseKeyIsNoTextOrHoldsANulCharacter) {
  using namespace std::string_literals;
  for (const std::string& key : {"\x10\x01"s, "\x09"s, "\x52k\0"s, "\x62\0k\0\0"s}) {
    EXPECT_EQ(parse(binary({binaryDict(1, 2), key, "\x51\x31"})), std::nullopt);
  }
  EXPECT_EQ(parse(binary({binaryDict(1, 2), "\x61\0k"s, "\x51\x31"})), (PropertyList{{"k", "1"}}));
}

TEST_F(PropertyLists, RefuseATextThatIsNestedTooDeeply) {
  const std::size_t depth = 60000;
  EXPECT_EQ(parse(entry(repeated("<array>", depth) + repeated("</array>", depth))), std::nullopt);
  EXPECT_EQ(parse(entry(repeated("<array>", depth))), std::nullopt);
}

TEST_F(PropertyLists, ReadATextThatIsNestedDeeplyButNotTooDeeply) {
  const std::size_t depth = 9000;
  EXPECT_EQ(parse(entry(repeated("<array>", depth) + repeated("</array>", depth))),
            (PropertyList{{"k", PropertyListValue()}}));
}

TEST_F(PropertyLists, ExpandNoEntitiesOfTheirOwn) {
  const std::string text =
      "<?xml version=\"1.0\"?><!DOCTYPE plist [<!ENTITY a SYSTEM \"file:///etc/passwd\">]>"
      "<plist version=\"1.0\"><dict><key>k</key><string>&a;</string></dict></plist>";
  const auto list = parse(text);
  if (list) {
    EXPECT_THAT(*list, ElementsAre(Pair("k", PropertyListValue("&a;"))));
  } else {
    EXPECT_EQ(list, std::nullopt);
  }
}

TEST_F(PropertyLists, ReadAFileOfTheLargestSizeAndNoneBeyond) {
  std::string text = entry("<string>1</string>");
  text += std::string(kLimit - text.size(), '\n');
  EXPECT_NE(parse(text), std::nullopt);
  EXPECT_EQ(parse(text + "\n"), std::nullopt);
}

TEST_F(PropertyLists, AreNoneAtAMissingPath) {
  EXPECT_EQ(lists_.read(folder_ + "/none.plist"), std::nullopt);
  EXPECT_EQ(lists_.read(""), std::nullopt);
  ASSERT_NE(parse(entry("<true/>")), std::nullopt);
  EXPECT_EQ(lists_.read(path_ + std::string("\0x", 2)), std::nullopt);
}

TEST_F(PropertyLists, AreNoneInAFolderAFifoOrADevice) {
  EXPECT_EQ(lists_.read(folder_), std::nullopt);
  ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
  EXPECT_EQ(lists_.read(path_), std::nullopt);
  EXPECT_EQ(lists_.read("/dev/zero"), std::nullopt);
  EXPECT_EQ(lists_.read("/dev/null"), std::nullopt);
}

TEST_F(PropertyLists, AreNoneInAFileThatMayNotBeRead) {
  runInPrivateMachine([this] {
    const std::string path = machineFolder() + "/secret.plist";
    std::ofstream(path) << entry("<true/>");
    ASSERT_NE(lists_.read(path), std::nullopt);
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    asUser(1, 1, [&] { EXPECT_EQ(lists_.read(path), std::nullopt); });
  });
}

TEST_F(PropertyLists, AreReadThroughALink) {
  ASSERT_NE(parse(entry("<true/>")), std::nullopt);
  const std::string link = folder_ + "/link.plist";
  std::filesystem::create_symlink(path_, link);
  EXPECT_EQ(lists_.read(link), (PropertyList{{"k", true}}));
  std::filesystem::remove(path_);
  EXPECT_EQ(lists_.read(link), std::nullopt);
}

}  // namespace
}  // namespace qm::testing
