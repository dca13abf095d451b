// Space reuse through the file's first reclaim table (pairs of length and address, in words),
// kept the way HEC's library keeps it with reuse on, so HEC's tools read the file as sound
// and may reuse the pieces themselves. Only superseded versions of rewritten records are
// listed, never deleted records (they can still be undeleted). Every change to a pair is one
// word: a length that grows over the piece freed right after it, or shrinks as its end is
// taken, or a free slot's length set once its address is in place; and an
// interrupted operation empties the table (repair): a crash can lose free space, never
// hand out space something still uses.
#include <algorithm>

#include "engine/dss7/dss_file.h"
#include "engine/dss7/dss_file_internal.h"

namespace varnock::engine::dss7 {

Status Writer::ReadReclaimTable(std::vector<int64_t>* table, int64_t* at) {
  const auto& h = f_.header_;
  *at = h[hdr::kReclaimTableAddress];
  table->clear();
  // A table of another shape, or outside the file, is left alone.
  if (h[hdr::kReclaimTableSize] != create::kReclaimTableWords ||
      h[hdr::kReclaimPairsPerTable] != create::kReclaimPairs || *at < hdr::kWords ||
      *at > h[hdr::kFileSize] - create::kReclaimTableWords) {
    return Status::kOk;
  }
  table->resize(static_cast<size_t>(2 * create::kReclaimPairs));
  return f_.io_->ReadWords(*at, *table);
}

Status Writer::AllocateRecord(int64_t words, int64_t* address, int64_t* granted) {
  auto& h = f_.header_;
  *granted = words;
  const int64_t minimum = std::max<int64_t>(h[hdr::kReclaimMin], 1);
  if (h[hdr::kReclaimTotal] <= 0 || words < minimum || reuse_at_ != 0) {
    *address = Allocate(words);
    return Status::kOk;
  }
  std::vector<int64_t> table;
  int64_t at = 0;
  Status s = ReadReclaimTable(&table, &at);
  if (s != Status::kOk) return s;
  // The smallest listed piece that holds the record, inside the file's records.
  const int64_t lowest = h[hdr::kFirstBinAddress];
  int64_t best = -1;
  for (int64_t i = 0; i + 1 < static_cast<int64_t>(table.size()); i += 2) {
    const int64_t length = table[static_cast<size_t>(i)];
    const int64_t start = table[static_cast<size_t>(i + 1)];
    if (length < words || start <= lowest || start > h[hdr::kFileSize] - length) continue;
    if (best < 0 || length < table[static_cast<size_t>(best)]) best = i;
  }
  if (best < 0) {
    *address = Allocate(words);
    return Status::kOk;
  }
  const int64_t length = table[static_cast<size_t>(best)];
  // The record takes the piece's end, so the pair's address word never changes; a rest too
  // small to list goes to the record as room to grow, and is freed with it later.
  if (length - words < minimum) *granted = length;
  *address = table[static_cast<size_t>(best + 1)] + length - *granted;
  reuse_at_ = *address;
  reuse_words_.assign(static_cast<size_t>(*granted), 0);
  reuse_pair_at_ = at + best;
  reuse_pair_length_ = length - *granted;
  AddTo(h, hdr::kReclaimTotal, -(length - reuse_pair_length_));
  AddTo(h, hdr::kDeadSpace, -(length - reuse_pair_length_));
  AddTo(h, hdr::kReusedSpaceCount, 1);
  return Status::kOk;
}

Status Writer::Free(int64_t address, int64_t words) {
  auto& h = f_.header_;
  if (words < std::max<int64_t>(h[hdr::kReclaimMin], 1)) return Status::kOk;
  std::vector<int64_t> table;
  int64_t at = 0;
  Status s = ReadReclaimTable(&table, &at);
  if (s != Status::kOk || table.empty()) return s;
  // A listed piece just before this one grows over it (its length word only grows).
  for (int64_t i = 0; i + 1 < static_cast<int64_t>(table.size()); i += 2) {
    const int64_t length = table[static_cast<size_t>(i)];
    if (length <= 0 || table[static_cast<size_t>(i + 1)] + length != address) continue;
    if ((s = WriteWord(at + i, length + words)) != Status::kOk) return s;
    AddTo(h, hdr::kReclaimTotal, words);
    h[hdr::kReclaimLargest] = std::max(h[hdr::kReclaimLargest], length + words);
    return Status::kOk;
  }
  for (int64_t i = 0; i + 1 < static_cast<int64_t>(table.size()); i += 2) {
    if (table[static_cast<size_t>(i)] != 0) continue;
    // Address first: the pair counts only once its length lands.
    if ((s = WriteWord(at + i + 1, address)) != Status::kOk ||
        (s = WriteWord(at + i, words)) != Status::kOk) {
      return s;
    }
    AddTo(h, hdr::kReclaimTotal, words);
    h[hdr::kReclaimLargest] = std::max(h[hdr::kReclaimLargest], words);
    return Status::kOk;
  }
  return Status::kOk;  // the table is full: the space stays dead
}

}  // namespace varnock::engine::dss7
