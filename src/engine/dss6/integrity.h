// HEC's three DSS-6 integrity checks (bins, links, pathnames). A file this layer writes must
// pass them all; on others they tell what is damaged.
#ifndef VARNOCK_ENGINE_DSS6_INTEGRITY_H_
#define VARNOCK_ENGINE_DSS6_INTEGRITY_H_

#include "engine/dss6/dss6_file.h"
#include "engine/dss7/integrity.h"

namespace varnock::engine::dss6 {

// kOk when the checks ran (the findings are in `report`); an I/O status when they could not.
Status CheckIntegrity(Dss6File& file, dss7::IntegrityReport* report);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_INTEGRITY_H_
