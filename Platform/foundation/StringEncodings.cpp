// SPDX-License-Identifier: MIT
#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "Platform/foundation/Strings.h"
#include "Platform/foundation/Utf8.h"

namespace qm::foundation {
namespace {

/// The upper half of NEXTSTEP, which the system's converters do not support. Its last two positions are not assigned.
constexpr std::array<std::uint16_t, 126> nextstepUpperHalf = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC, 0x00CD,
    0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9, 0x00DA, 0x00DB, 0x00DC, 0x00DD,
    0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3, 0x2044, 0x00A5, 0x0192, 0x00A7, 0x00A4, 0x2019,
    0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6, 0x2022,
    0x201A, 0x201E, 0x201D, 0x00BB, 0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9, 0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF,
    0x02D8, 0x02D9, 0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD,
    0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB, 0x00EC, 0x00C6,
    0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x0141, 0x00D8, 0x0152, 0x00BA, 0x00F2, 0x00F3, 0x00F4, 0x00F5,
    0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB, 0x0131, 0x00FC, 0x00FD, 0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF};

/// The upper half of Mac OS Roman. The system's converter maps two characters differently: the increment (0xC6) and the
/// sign of the Mac's maker (0xF0).
constexpr std::array<std::uint16_t, 128> macRomanUpperHalf = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5,
    0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, 0x00F2, 0x00F4,
    0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6,
    0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, 0x221E, 0x00B1, 0x2264, 0x2265,
    0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF,
    0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, 0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5,
    0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044,
    0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1,
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9,
    0x0131, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7};

const char* converterName(StringEncoding encoding) {
  switch (encoding) {
    case StringEncoding::JapaneseEUC:
      return "EUC-JP";
    case StringEncoding::ISOLatin1:
      return "ISO-8859-1";
    case StringEncoding::ShiftJIS:
      return "CP932";
    case StringEncoding::ISOLatin2:
      return "ISO-8859-2";
    case StringEncoding::UTF16:
      return "UTF-16";
    case StringEncoding::WindowsCP1251:
      return "CP1251";
    case StringEncoding::WindowsCP1252:
      return "CP1252";
    case StringEncoding::WindowsCP1253:
      return "CP1253";
    case StringEncoding::WindowsCP1254:
      return "CP1254";
    case StringEncoding::WindowsCP1250:
      return "CP1250";
    case StringEncoding::ISO2022JP:
      return "ISO-2022-JP";
    case StringEncoding::UTF16BigEndian:
      return "UTF-16BE";
    case StringEncoding::UTF16LittleEndian:
      return "UTF-16LE";
    case StringEncoding::UTF32:
      return "UTF-32";
    case StringEncoding::UTF32BigEndian:
      return "UTF-32BE";
    case StringEncoding::UTF32LittleEndian:
      return "UTF-32LE";
    default:
      return nullptr;
  }
}

std::optional<std::string> decodeAscii(std::string_view bytes) {
  const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < kFirstNonAscii; };
  if (!std::all_of(bytes.begin(), bytes.end(), isAscii)) return std::nullopt;
  return std::string(bytes);
}

std::optional<std::string> decodeUtf8(std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const Character character = characterAt(bytes, at);
    if (!character.isValid()) return std::nullopt;
    at += character.length;
  }
  return std::string(bytes);
}

/// A code point of the basic plane above ASCII as UTF-8.
void appendBasic(std::string& text, std::uint16_t point) {
  const auto continuation = [point](int shift) { return static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
  if (point < 0x800) {
    text += static_cast<char>(0xC0 | (point >> 6));
  } else {
    text += static_cast<char>(0xE0 | (point >> 12));
    text += continuation(6);
  }
  text += continuation(0);
}

template <std::size_t Count>
std::optional<std::string> decodeByTable(std::string_view bytes, const std::array<std::uint16_t, Count>& upperHalf) {
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (value < kFirstNonAscii) {
      text += byte;
    } else if (const std::size_t index = value - kFirstNonAscii; index < upperHalf.size()) {
      appendBasic(text, upperHalf[index]);
    } else {
      return std::nullopt;
    }
  }
  return text;
}

/// One of the system's converters to UTF-8.
class Converter {
 public:
  explicit Converter(const char* encoding) : descriptor_(iconv_open("UTF-8", encoding)) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (isOpen()) iconv_close(descriptor_);
  }

  bool isOpen() const { return descriptor_ != noConverter(); }

  std::optional<std::string> convert(std::string_view bytes) {
    std::string input(bytes);
    char* in = input.data();
    std::size_t inLeft = input.size();
    std::string text;
    if (!run(&in, &inLeft, text) || !run(nullptr, nullptr, text)) return std::nullopt;
    return text;
  }

 private:
  static iconv_t noConverter() {
    return reinterpret_cast<iconv_t>(-1);  // NOLINT(performance-no-int-to-ptr): the system's own mark
  }

  /// Converts until the input ends; without input, writes what the converter still buffers.
  bool run(char** in, std::size_t* inLeft, std::string& text) {
    std::array<char, 1024> buffer{};
    for (;;) {
      char* out = buffer.data();
      std::size_t outLeft = buffer.size();
      const bool done = iconv(descriptor_, in, inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
      const int error = errno;
      text.append(buffer.data(), out);
      if (done) return true;
      if (error != E2BIG) return false;
    }
  }

  iconv_t descriptor_;
};

std::optional<std::string> decodeBySystem(std::string_view bytes, const char* name) {
  Converter converter(name);
  if (!converter.isOpen()) return std::nullopt;
  return converter.convert(bytes);
}

}  // namespace

std::optional<std::string> decode(std::string_view bytes, StringEncoding encoding) {
  if (encoding == StringEncoding::ASCII) return decodeAscii(bytes);
  if (encoding == StringEncoding::UTF8) return decodeUtf8(bytes);
  if (encoding == StringEncoding::NEXTSTEP) return decodeByTable(bytes, nextstepUpperHalf);
  if (encoding == StringEncoding::MacOSRoman) return decodeByTable(bytes, macRomanUpperHalf);
  const char* name = converterName(encoding);
  return name == nullptr ? std::nullopt : decodeBySystem(bytes, name);
}

}  // namespace qm::foundation
