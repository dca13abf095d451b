// The four checks of HEC's full file check (links, pathnames, bins, hash table). A file this
// layer writes must pass them all; on others they tell what is damaged.
#ifndef VARNOCK_ENGINE_DSS7_INTEGRITY_H_
#define VARNOCK_ENGINE_DSS7_INTEGRITY_H_

#include <cstdint>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"

namespace varnock::engine::dss7 {

struct IntegrityIssue {
  std::string what;
  int64_t address = 0;
};

struct IntegrityReport {
  std::vector<IntegrityIssue> issues;  // at most kMaxIssues
  int64_t info_blocks_seen = 0;
  int64_t live_entries = 0;
  bool ok() const { return issues.empty(); }
  std::string Summary() const;
  static constexpr size_t kMaxIssues = 200;
};

// kOk when the checks ran (the findings are in `report`); an I/O status when they could not.
Status CheckIntegrity(DssFile& file, IntegrityReport* report);

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_INTEGRITY_H_
