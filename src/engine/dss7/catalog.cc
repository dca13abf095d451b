// The unsorted catalog: a physical walk of the bins in the order they were handed out.
#include <algorithm>

#include "engine/dss7/codec.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/dss_file_internal.h"

namespace varnock::engine::dss7 {
namespace {

bool Selected(const BinEntry& e, const CatalogFilter& f) {
  switch (f.which) {
    case CatalogFilter::Which::kLive:
      if (!entry_status::IsLive(e.status)) return false;
      break;
    case CatalogFilter::Which::kDeleted:
      if (e.status != entry_status::kDeleted) return false;
      break;
    case CatalogFilter::Which::kRenamed:
      if (e.status != entry_status::kRenamed) return false;
      break;
  }
  return e.type >= f.min_type && e.type <= f.max_type && e.last_write_ms >= f.changed_since_ms;
}

}  // namespace

Status DssFile::Catalog(std::vector<CatalogEntry>* out, const CatalogFilter& filter) {
  if (!open_) return Status::kNotOpen;
  return NoThrow([&]() -> Status {
    out->clear();
    if (stale_) {
      const Status s = LoadHeader();
      if (s != Status::kOk) return s;
    }
    const int64_t bin_size = header_[hdr::kBinSize];
    const int64_t per_block = header_[hdr::kBinsPerBlock];
    const int64_t block_words = per_block * bin_size + 1;
    const int64_t max_blocks = physical_words_ / block_words + 1;
    std::vector<int64_t> block(static_cast<size_t>(block_words));
    int64_t address = header_[hdr::kFirstBinAddress];
    for (int64_t n = 0; address != 0; ++n) {
      if (n > max_blocks) return Status::kDamaged;
      if (address < hdr::kWords || address > physical_words_ - block_words) {
        return Status::kDamaged;
      }
      const Status s = io_->ReadWords(address, block);
      if (s != Status::kOk) return s;
      for (int64_t b = 0; b < per_block; ++b) {
        const auto bin = std::span<const int64_t>(block).subspan(static_cast<size_t>(b * bin_size),
                                                                 static_cast<size_t>(bin_size));
        if (bin[0] == 0) return Status::kOk;  // bins are handed out in order: none follow
        BinEntry e;
        for (int64_t j = 0; DecodeBinEntry(bin, j, &e) == EntryScan::kEntry; j += e.Words()) {
          if (!Selected(e, filter)) continue;
          CatalogEntry c;
          c.path = BinEntryPath(bin, j, e);
          c.type = e.type;
          c.status = e.status;
          c.entry_address = address + b * bin_size + j;
          c.info_address = e.info_address;
          c.last_write_ms = e.last_write_ms;
          c.first_julian = e.first_julian;
          c.last_julian = e.last_julian;
          out->push_back(std::move(c));
        }
      }
      address = block.back();
    }
    return Status::kOk;
  });
}

}  // namespace varnock::engine::dss7
