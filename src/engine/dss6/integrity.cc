#include "engine/dss6/integrity.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace varnock::engine::dss6 {
namespace {

constexpr int32_t kLowestScheme = -5;
constexpr int32_t kHighestScheme = 20;
constexpr int32_t kMinLinkedPathBytes = 5;
constexpr int64_t kScanRecords = 64;  // physical records read at once by the link check

class Checker {
 public:
  Checker(Dss6File& f, dss7::IntegrityReport* r) : f_(f), r_(r) {}

  void Issue(std::string what, int64_t address) {
    if (r_->issues.size() < dss7::IntegrityReport::kMaxIssues) {
      r_->issues.push_back({std::move(what), address});
    }
  }

  bool AreaOk(int32_t address, int32_t words) const {
    return words == 0 || (address >= 0 && address <= f_.header()[hdr::kFileSize]);
  }

  // 1. Every hash code's chain: entries, and the info blocks they point at.
  Status Bins() {
    const auto& h = f_.header();
    const int32_t codes = h[hdr::kHashCodes];
    std::vector<int32_t> table(static_cast<size_t>(codes), 0);
    const bool stable = h[hdr::kTableFlag] == kTableFlagStable;
    if (!stable) {
      const Status s = f_.ReadWords(kHashTableBase + 1, table);
      if (s != Status::kOk) return s;
    }
    int64_t live = 0;
    std::array<int32_t, kBinWords> bin{};
    const int64_t max_hops = f_.file_words() / kBinWords + 1;
    for (int32_t code = 1; code <= codes; ++code) {
      int64_t address = stable ? h[hdr::kFirstBin] + int64_t{code - 1} * kBinWords
                               : table[static_cast<size_t>(code - 1)];
      for (int64_t hop = 0; address != 0; ++hop) {
        if (hop > max_hops || f_.ReadWords(address, bin) != Status::kOk) {
          Issue("hash chain leads outside the file or loops", address);
          break;
        }
        int64_t next = 0;
        BinEntry e;
        for (int32_t at = 0;; at += e.Words()) {
          const EntryScan scan = DecodeBinEntry(bin, at, &e);
          if (scan == EntryScan::kEnd) break;
          if (scan == EntryScan::kFull) {
            next = bin[bin::kOverflowLink];
            break;
          }
          if (scan == EntryScan::kMalformed || e.path_bytes < kMinPathBytes) {
            Issue("bad bin entry (status or path length)", address + at);
            break;
          }
          if (entry_status::IsLive(e.status)) ++live;
          CheckEntry(e, address + at);
        }
        address = next;
      }
    }
    r_->live_entries = live;
    if (live != h[hdr::kRecordCount]) {
      Issue("live bin entries (" + std::to_string(live) + ") differ from the record count (" +
                std::to_string(h[hdr::kRecordCount]) + ")",
            1);
    }
    return Status::kOk;
  }

  void CheckEntry(const BinEntry& e, int64_t where) {
    InfoBlock info;
    if (f_.ReadInfoAt(e.info_address, &info) != Status::kOk) {
      Issue("bin entry points at no info block: " + e.path, where);
      return;
    }
    ++r_->info_blocks_seen;
    if (info.status != e.status || info.path != e.path || info.data_words != e.data_words ||
        info.user_header_words != e.user_header_words || info.type != e.type) {
      Issue("info block disagrees with its bin entry: " + e.path, info.address);
    }
    if (info.compression < kLowestScheme || info.compression > kHighestScheme ||
        info.quality_flag < kLowestScheme || info.quality_flag > kHighestScheme ||
        info.internal_header_words < 0 || info.compression_header_words < 0) {
      Issue("bad compression, quality or header length: " + e.path, info.address);
    }
    if (!AreaOk(info.internal_header_address, info.internal_header_words) ||
        !AreaOk(info.compression_header_address, info.compression_header_words) ||
        !AreaOk(info.user_header_address, info.user_header_words) ||
        !AreaOk(info.data_address, info.data_words)) {
      Issue("record area outside the file: " + e.path, info.address);
    }
  }

  // 2. Every live info block found by scanning the file is the one its path's lookup finds.
  Status Links() {
    const int64_t end = std::min<int64_t>(f_.header()[hdr::kFileSize] - 1, f_.file_words());
    std::vector<int32_t> words;
    int64_t live = 0;
    const int64_t chunk = kScanRecords * kWordsPerRecord;
    // Overlap the chunks by the two words a flag needs after it.
    for (int64_t start = kWordsPerRecord + 1; start <= end; start += chunk) {
      const int64_t n = std::min(chunk + 2, end - start + 1);
      words.assign(static_cast<size_t>(n), 0);
      const Status s = f_.ReadWords(start, words);
      if (s != Status::kOk) return s;
      for (int64_t i = 0; i + 2 < n && i < chunk; ++i) {
        if (words[static_cast<size_t>(i)] != kInfoFlag) continue;
        const int32_t status = words[static_cast<size_t>(i + 1)];
        const int32_t length = words[static_cast<size_t>(i + 2)];
        if (!entry_status::IsLive(status) || length < kMinLinkedPathBytes ||
            length > kMaxPathBytes) {
          continue;
        }
        ++live;
        InfoBlock info;
        Found found;
        if (f_.ReadInfoAt(start + i, &info) != Status::kOk ||
            f_.Find(info.path, &found) != Status::kOk || found.info.address != start + i) {
          Issue("live info block its path does not lead to", start + i);
        }
      }
    }
    if (live != f_.header()[hdr::kRecordCount]) {
      Issue("live info blocks (" + std::to_string(live) + ") differ from the record count", 1);
    }
    return Status::kOk;
  }

  // 3. Every record the catalog lists can be looked up.
  Status Pathnames() {
    std::vector<container::CatalogItem> items;
    const Status s = f_.Catalog(&items);
    if (s == Status::kDamaged) {
      Issue("the catalog walk fails", f_.header()[hdr::kFirstBin]);
      return Status::kOk;
    }
    if (s != Status::kOk) return s;
    for (const auto& c : items) {
      Found found;
      if (f_.Find(c.path, &found) != Status::kOk) Issue("listed but not found: " + c.path, 0);
    }
    if (static_cast<int64_t>(items.size()) != f_.header()[hdr::kRecordCount]) {
      Issue("the catalog lists fewer records than the record count", 1);
    }
    return Status::kOk;
  }

 private:
  Dss6File& f_;
  dss7::IntegrityReport* r_;
};

}  // namespace

Status CheckIntegrity(Dss6File& file, dss7::IntegrityReport* report) {
  *report = {};
  Checker c(file, report);
  Status s = c.Bins();
  if (s == Status::kOk) s = c.Links();
  if (s == Status::kOk) s = c.Pathnames();
  return s;
}

}  // namespace varnock::engine::dss6
