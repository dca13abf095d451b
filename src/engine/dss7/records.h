// Decoded forms of the two structures that point at records: pathname-bin entries and record
// info blocks. Pure encode/decode over words; every length is checked before use.
#ifndef VARNOCK_ENGINE_DSS7_RECORDS_H_
#define VARNOCK_ENGINE_DSS7_RECORDS_H_

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "engine/dss7/layout.h"
#include "engine/dss7/status.h"

namespace varnock::engine::dss7 {

struct BinEntry {
  int64_t hash = 0;
  int64_t status = 0;
  int32_t path_bytes = 0;
  int32_t path_words = 0;
  int64_t info_address = 0;
  int32_t type = 0;
  int32_t sequence = 0;
  int64_t last_write_ms = 0;
  int32_t first_julian = 0;
  int32_t last_julian = 0;
  int64_t Words() const { return bin::kFixedWords + path_words; }
};

enum class EntryScan { kEntry, kEnd, kMalformed };

// The entry at `offset` of one bin (the whole bin, link word last). kEnd where entries stop
// (a zero hash, or too close to the bin's end); kMalformed when lengths do not fit the bin.
EntryScan DecodeBinEntry(std::span<const int64_t> bin, int64_t offset, BinEntry* out);
std::string BinEntryPath(std::span<const int64_t> bin, int64_t offset, const BinEntry& e);
void BinEntryPath(std::span<const int64_t> bin, int64_t offset, const BinEntry& e,
                  std::string* out);
bool BinEntryPathIs(std::span<const int64_t> bin, int64_t offset, const BinEntry& e,
                    std::string_view path);
// Fills bin::kFixedWords + WordsForBytes(path) words.
void EncodeBinEntry(const BinEntry& e, std::string_view path, std::span<int64_t> out);
// HEC's fit rule: the entry must end at or before offset bin_size - 3.
constexpr bool EntryFits(int64_t offset, int64_t entry_words, int64_t bin_size) {
  return offset + entry_words + 1 < bin_size;
}

struct DateTime {
  int32_t julian = 0;
  int32_t seconds = 0;
  bool operator==(const DateTime&) const = default;
};

struct InfoBlock {
  int64_t address = 0;  // where it was read from (not stored)
  int64_t status = 0;
  int64_t path_length = 0;
  int64_t bin_hash = 0;
  int32_t type = 0;
  int32_t version = 0;
  int32_t expansions = 0;
  int32_t expansion_flag = 0;
  int64_t last_write_ms = 0;
  std::array<int64_t, info::kProgramWords> program{};  // 16 bytes, NUL-padded
  DateTime first;
  DateTime last;
  int64_t creation_ms = 0;
  int64_t reserved1 = 0;
  std::array<int64_t, kAreaCount> area_address{};
  std::array<int64_t, kAreaCount> area_length{};  // int32 units
  int64_t allocated = 0;                          // int32 units, values 1-3
  int64_t data_count = 0;
  int64_t logical_count = 0;
  int64_t alias_address = 0;
  int64_t reserved2 = 0;
  std::string path;

  int64_t Words() const;  // 30 + path words
  std::string Program() const;
  void SetProgram(std::string_view name);
  // int32 units of internal header + header 2 + user header + allocation (HEC's size test).
  int64_t SpaceInt32() const;
  // Words from the internal header's address to the end of the allocation.
  int64_t BodyWords() const;
};

// Needs at least the 30 fixed words; the path when `words` holds it. kDamaged on a wrong
// flag or a path length outside 0..392 or longer than the words given.
Status DecodeInfoBlock(std::span<const int64_t> words, InfoBlock* out);
// Fills info.Words() words.
void EncodeInfoBlock(const InfoBlock& info, std::span<int64_t> out);
// The checks HEC's integrity check makes on an info block, with addresses bounded by
// `limit_words`; also refuses areas longer than HEC would ever read.
Status CheckInfoBlock(const InfoBlock& info, int64_t limit_words);

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_RECORDS_H_
