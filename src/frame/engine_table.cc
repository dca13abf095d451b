#include "frame/engine_table.h"

#include <dlfcn.h>

#include <cerrno>
#include <mutex>
#include <string>

#include "varnock/error.h"
#include "varnock/heclib.h"

namespace varnock::frame {

namespace {

// The folder of the shared object that holds this code, with a trailing slash.
std::string OwnFolder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&OwnFolder), &info) == 0 || info.dli_fname == nullptr)
    return "";
  const std::string path = info.dli_fname;
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

template <typename T>
bool Resolve(void* handle, const char* name, T& slot) {
  slot = reinterpret_cast<T>(dlsym(handle, name));
  return slot != nullptr;
}

bool ResolveAll(void* handle, EngineRoutines& table) {
  return Resolve(handle, "FORTRANOPEN_", table.fortran_open) &&
         Resolve(handle, "FORTRANCLOSE_", table.fortran_close) &&
         Resolve(handle, "closedssoutput_", table.close_dss_output) &&
         Resolve(handle, "ZSET_", table.zset) && Resolve(handle, "ZINQIR_", table.zinqir) &&
         Resolve(handle, "ZOPEN_", table.zopen) && Resolve(handle, "ZCLOSE_", table.zclose) &&
         Resolve(handle, "ZFVER_", table.zfver) && Resolve(handle, "DATJUL_", table.datjul) &&
         Resolve(handle, "JULDAT_", table.juldat) && Resolve(handle, "DATCLL_", table.datcll) &&
         Resolve(handle, "ZUPATH_", table.zupath) && Resolve(handle, "ZCHKPN_", table.zchkpn) &&
         Resolve(handle, "ZGPNP_", table.zgpnp) && Resolve(handle, "ZCAT_", table.zcat) &&
         Resolve(handle, "ZDTYPE_", table.zdtype) && Resolve(handle, "ZRENAM_", table.zrenam) &&
         Resolve(handle, "ZDELET_", table.zdelet) && Resolve(handle, "ZUNDEL_", table.zundel) &&
         Resolve(handle, "ZCOREC_", table.zcorec) && Resolve(handle, "ZRRTS_", table.zrrts) &&
         Resolve(handle, "ZSRTS_", table.zsrts) && Resolve(handle, "ZRITS_", table.zrits) &&
         Resolve(handle, "ZSITS_", table.zsits) && Resolve(handle, "ZRPD_", table.zrpd) &&
         Resolve(handle, "ZSPD_", table.zspd);
}

std::mutex load_mutex;
EngineRoutines routines{};
bool loaded = false;

}  // namespace

const EngineRoutines& Engine() {
  std::lock_guard<std::mutex> lock(load_mutex);
  if (loaded) return routines;
  // The handle is kept for the life of the process and never closed.
  const std::string beside_us = OwnFolder() + kEngineLibraryName;
  errno = 0;
  void* handle = dlopen(beside_us.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    errno = 0;
    handle = dlopen(kEngineLibraryName, RTLD_NOW | RTLD_LOCAL);
  }
  int error_code = errno != 0 ? errno : ENOENT;
  if (handle != nullptr && !ResolveAll(handle, routines)) {
    handle = nullptr;
    error_code = ENOSYS;  // an engine without every routine is as good as none
  }
  if (handle == nullptr) {
    throw AutomationError(kObjectErrorBase + error_code, kLibraryTitle,
                          "Problem loading the HEC library DLL.");
  }
  loaded = true;
  return routines;
}

}  // namespace varnock::frame

namespace varnock {

void StartUp() {
  frame::Engine();
}

}  // namespace varnock
