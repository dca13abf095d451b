// The engine's routine table: every HECLIB routine the library calls, resolved once from the
// loaded engine. The rest of the frame calls the engine only through this table.
#ifndef VARNOCK_FRAME_ENGINE_TABLE_H_
#define VARNOCK_FRAME_ENGINE_TABLE_H_

#include "engine/heclib/heclib_abi.h"

namespace varnock::frame {

struct EngineRoutines {
  decltype(&FORTRANOPEN_) fortran_open;
  decltype(&FORTRANCLOSE_) fortran_close;
  decltype(&closedssoutput_) close_dss_output;
  decltype(&ZSET_) zset;
  decltype(&ZINQIR_) zinqir;
  decltype(&ZOPEN_) zopen;
  decltype(&ZCLOSE_) zclose;
  decltype(&ZFVER_) zfver;
  decltype(&DATJUL_) datjul;
  decltype(&JULDAT_) juldat;
  decltype(&DATCLL_) datcll;
  decltype(&ZUPATH_) zupath;
  decltype(&ZCHKPN_) zchkpn;
  decltype(&ZGPNP_) zgpnp;
  decltype(&ZCAT_) zcat;
  decltype(&ZDTYPE_) zdtype;
  decltype(&ZRENAM_) zrenam;
  decltype(&ZDELET_) zdelet;
  decltype(&ZUNDEL_) zundel;
  decltype(&ZCOREC_) zcorec;
  decltype(&ZRRTS_) zrrts;
  decltype(&ZSRTS_) zsrts;
  decltype(&ZRITS_) zrits;
  decltype(&ZSITS_) zsits;
  decltype(&ZRPD_) zrpd;
  decltype(&ZSPD_) zspd;
};

// The routines of the loaded engine; loads it on first use (raises when it cannot).
const EngineRoutines& Engine();

// The file name of the engine library.
inline constexpr const char* kEngineLibraryName = "libvarnockdss.so";

}  // namespace varnock::frame

#endif  // VARNOCK_FRAME_ENGINE_TABLE_H_
