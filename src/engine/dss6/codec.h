// Pure codecs over DSS-6 words (4-byte little-endian ints): gathering words out of physical
// records, pathname normalisation and hashing, the file header, bin entries and info blocks.
// Decoders check every length and address against the buffer they are given.
#ifndef VARNOCK_ENGINE_DSS6_CODEC_H_
#define VARNOCK_ENGINE_DSS6_CODEC_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "engine/dss6/layout.h"
#include "engine/dss7/status.h"

namespace varnock::engine::dss6 {

using Status = dss7::Status;

// Bytes from the first byte of the word at `address` through the last byte of the word
// `count - 1` after it (spare bytes of the physical records in between included).
int64_t SpanBytes(int64_t address, int64_t count);
// Picks the words out of `bytes`, which starts at ByteOffset(address) and holds
// SpanBytes(address, out.size()) bytes; converts from the disk's byte order.
void GatherWords(std::span<const std::byte> bytes, int64_t address, std::span<int32_t> out);
// The inverse: lays `words` into `bytes` (same extent), leaving spare bytes untouched.
void ScatterWords(std::span<const int32_t> words, int64_t address, std::span<std::byte> bytes);

// Byte k of a word array, as it lies on disk.
inline char CharAt(std::span<const int32_t> words, size_t k) {
  return static_cast<char>(static_cast<uint32_t>(words[k / 4]) >> (8 * (k % 4)));
}
// The first n bytes of a word array (n clipped to the array).
std::string LoadChars(std::span<const int32_t> words, size_t n);
// Stores text from word 0 on, padding the last word with `pad`.
void StoreChars(std::string_view text, std::span<int32_t> words, char pad = ' ');

// HEC's normalisation before hashing, comparing and storing: a-z to A-Z, bytes below 32 to '?'.
std::string NormalisePath(std::string_view path);
// Hash code 1..codes of a normalised path, with the collection-path substitution.
int32_t PathHash(std::string_view normalised, int32_t codes);
// Long paths (more than 80 bytes, or a part of more than 32) get status 11 instead of 1.
bool IsLongPath(std::string_view normalised);

// The header as words, 0-based (index n - 1 holds Hn).
using HeaderWords = std::array<int32_t, hdr::kWords>;
// kOk when the header describes a file we can read: "ZDSS", a "6-" version, a sane geometry
// whose first bin lies inside `file_words`. *crashed is set when H6 carries the mark a dead
// writer leaves (the file may then only be read).
Status CheckHeader(const HeaderWords& h, int64_t file_words, bool* crashed);
std::string VersionText(const HeaderWords& h);
// Longest A..F part recorded in H53-H54.
std::array<int32_t, 6> LongestParts(const HeaderWords& h);

struct BinEntry {
  int32_t status = 0;
  int32_t path_bytes = 0;
  int32_t path_words = 0;
  int32_t info_address = 0;
  int32_t user_header_words = 0;
  int32_t data_words = 0;
  int32_t logical_count = 0;
  int32_t type = 0;
  std::string tag;
  int32_t hash = 0;
  int32_t pseudo_interval = 0;  // minutes, irregular series stored from a "~" E part
  std::string path;
  int32_t Words() const { return bin::kFixedWords + path_words; }
};

// kEnd where entries stop (status 0, or no room for another entry); kFull at a -1 marker
// (the chain continues at the overflow link); kMalformed when a length does not fit the bin.
enum class EntryScan { kEntry, kEnd, kFull, kMalformed };
// `bin` is one whole bin (127 words).
EntryScan DecodeBinEntry(std::span<const int32_t> bin, int32_t offset, BinEntry* out);
// Fills entry.Words() words.
void EncodeBinEntry(const BinEntry& entry, std::span<int32_t> out);
// HEC's fit rule: an entry of P path words may start at `offset` only if it ends by offset 123.
constexpr bool EntryFits(int32_t offset, int32_t path_words) {
  return offset + path_words + bin::kFitSlack <= kBinWords;
}

struct InfoBlock {
  int64_t address = 0;  // where it was read from (not stored)
  int32_t status = 0;
  int32_t path_bytes = 0;
  std::string path;
  int32_t data_address = 0;
  int32_t data_words = 0;
  int32_t logical_count = 0;
  int32_t version = 0;
  std::string program;
  std::string date;
  std::string time;
  std::string tag;
  int32_t type = 0;
  int32_t compression = 0;
  int32_t quality_flag = 0;
  int32_t internal_header_address = 0;
  int32_t internal_header_words = 0;
  int32_t compression_header_address = 0;
  int32_t compression_header_words = 0;
  int32_t user_header_address = 0;
  int32_t user_header_words = 0;
  int32_t precision = 0;
  int32_t unused_words = 0;
  int32_t Words() const { return info::kFixedWords + PathWords(path_bytes); }
};

// Needs the whole block (28 + P words). kDamaged on a wrong flag, a path length outside
// 1..392, or fewer words than the path needs.
Status DecodeInfoBlock(std::span<const int32_t> words, InfoBlock* out);
// Fills info.Words() words; program, date and time are cut or padded to their fields.
void EncodeInfoBlock(const InfoBlock& info, std::span<int32_t> out);
// Every area with a length lies within words 1..limit_words; lengths are not negative.
Status CheckInfoAreas(const InfoBlock& info, int64_t limit_words);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_CODEC_H_
