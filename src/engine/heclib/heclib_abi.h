// The C ABI of libvarnockdss.so: HECLIB's routines under their upper-case names with a trailing
// underscore. Numbers and arrays are passed by address; every character argument is a pointer
// immediately followed by its length in bytes (a 32-bit integer by value). Character outputs are
// blank-padded to the given length. No routine reads or writes past a given length, and none
// throws or aborts: failures come back as the routine's status.
#ifndef VARNOCK_ENGINE_HECLIB_HECLIB_ABI_H_
#define VARNOCK_ENGINE_HECLIB_HECLIB_ABI_H_

#include <cstdint>

#if defined(VARNOCK_ENGINE_BUILD)
#define VARNOCK_HECLIB_API extern "C" __attribute__((visibility("default")))
#else
#define VARNOCK_HECLIB_API extern "C"
#endif

// Fortran units and message output.
VARNOCK_HECLIB_API int32_t FORTRANOPEN_(const char* name, int32_t name_len, const int32_t* unit);
VARNOCK_HECLIB_API int32_t FORTRANCLOSE_(const int32_t* unit);
VARNOCK_HECLIB_API void closedssoutput_();

// Options and inquiries.
VARNOCK_HECLIB_API void ZSET_(const char* keyword, int32_t keyword_len, const char* text,
                              int32_t text_len, const int32_t* number);
VARNOCK_HECLIB_API void ZINQIR_(int32_t* ifltab, const char* keyword, int32_t keyword_len,
                                char* text, int32_t text_len, int32_t* number);

// Files.
VARNOCK_HECLIB_API void ZOPEN_(int32_t* ifltab, const char* name, int32_t name_len,
                               int32_t* status);
VARNOCK_HECLIB_API void ZCLOSE_(int32_t* ifltab);
VARNOCK_HECLIB_API void ZFVER_(const char* name, int32_t name_len, char* version,
                               int32_t version_len, int32_t* version_number);

// Dates.
VARNOCK_HECLIB_API void DATJUL_(const char* date, int32_t date_len, int32_t* julian,
                                int32_t* error);
VARNOCK_HECLIB_API void JULDAT_(const int32_t* julian, const int32_t* style, char* date,
                                int32_t date_len, int32_t* text_len);
VARNOCK_HECLIB_API void DATCLL_(const int32_t* julian_in, const int32_t* minutes_in,
                                int32_t* julian_out, int32_t* minutes_out);

// Pathnames.
VARNOCK_HECLIB_API void ZUPATH_(const char* path, int32_t path_len, int32_t* part_begin,
                                int32_t* part_end, int32_t* part_len, int32_t* status);
VARNOCK_HECLIB_API void ZCHKPN_(char* path, int32_t path_len, const int32_t* check_len,
                                int32_t* status);
VARNOCK_HECLIB_API void ZGPNP_(const char* line, int32_t line_len, char* a, int32_t a_len, char* b,
                               int32_t b_len, char* c, int32_t c_len, char* d, int32_t d_len,
                               char* e, int32_t e_len, char* f, int32_t f_len,
                               int32_t* part_lengths);

// Catalog and record utilities. Logical arguments are 32-bit: 0 false, any other value true.
VARNOCK_HECLIB_API void ZCAT_(int32_t* ifltab, const int32_t* catalog_unit,
                              const int32_t* condensed_unit, const int32_t* input_unit,
                              const char* instructions, int32_t instructions_len,
                              const int32_t* abbreviated, const int32_t* sorted,
                              int32_t* condensed_made, int32_t* record_count);
VARNOCK_HECLIB_API void ZDTYPE_(int32_t* ifltab, const char* path, int32_t path_len,
                                int32_t* data_words, int32_t* found, char* type_code,
                                int32_t type_code_len, int32_t* type_number);
VARNOCK_HECLIB_API void ZRENAM_(int32_t* ifltab, const char* path, int32_t path_len,
                                const int32_t* npath, const char* new_path, int32_t new_path_len,
                                const int32_t* nnpath, int32_t* found);
VARNOCK_HECLIB_API void ZDELET_(int32_t* ifltab, const char* path, int32_t path_len,
                                const int32_t* npath, int32_t* found);
VARNOCK_HECLIB_API void ZUNDEL_(int32_t* ifltab, const char* path, int32_t path_len,
                                const int32_t* npath, int32_t* status);
VARNOCK_HECLIB_API void ZCOREC_(int32_t* ifltab_from, int32_t* ifltab_to, const char* path_from,
                                int32_t path_from_len, const char* path_to, int32_t path_to_len,
                                int32_t* buffer1, const int32_t* buffer1_len, int32_t* buffer2,
                                const int32_t* buffer2_len, int32_t* status);

// Regular and irregular time series, single precision. Units and type fields are 8 wide.
VARNOCK_HECLIB_API void ZRRTS_(int32_t* ifltab, const char* path, int32_t path_len,
                               const char* date, int32_t date_len, const char* time,
                               int32_t time_len, int32_t* nvals, float* values, char* units,
                               int32_t units_len, char* type, int32_t type_len, int32_t* offset,
                               int32_t* status);
VARNOCK_HECLIB_API void ZSRTS_(int32_t* ifltab, const char* path, int32_t path_len,
                               const char* date, int32_t date_len, const char* time,
                               int32_t time_len, const int32_t* nvals, const float* values,
                               const char* units, int32_t units_len, const char* type,
                               int32_t type_len, const int32_t* plan, int32_t* status);
VARNOCK_HECLIB_API void ZRITS_(int32_t* ifltab, const char* path, int32_t path_len,
                               const int32_t* start_julian, const int32_t* start_minutes,
                               const int32_t* end_julian, const int32_t* end_minutes,
                               int32_t* times, float* values, const int32_t* capacity,
                               int32_t* nvals, int32_t* base_julian, char* units, int32_t units_len,
                               char* type, int32_t type_len, int32_t* status);
VARNOCK_HECLIB_API void ZSITS_(int32_t* ifltab, const char* path, int32_t path_len,
                               const int32_t* times, const float* values, const int32_t* nvals,
                               const int32_t* base_julian, const char* units, int32_t units_len,
                               const char* type, int32_t type_len, const int32_t* replace,
                               int32_t* status);

// Paired data, single precision. `labels` is an array of label elements, each `labels_len`
// characters long (ZRPD: `label_capacity` elements); logical `has_labels` as above.
VARNOCK_HECLIB_API void ZRPD_(int32_t* ifltab, const char* path, int32_t path_len, int32_t* nord,
                              int32_t* ncurve, int32_t* ihoriz, char* units1, int32_t units1_len,
                              char* type1, int32_t type1_len, char* units2, int32_t units2_len,
                              char* type2, int32_t type2_len, float* values,
                              const int32_t* capacity, int32_t* nvals, char* labels,
                              int32_t labels_len, const int32_t* label_capacity,
                              int32_t* has_labels, int32_t* user_header,
                              const int32_t* user_header_capacity, int32_t* user_header_count,
                              int32_t* status);
VARNOCK_HECLIB_API void ZSPD_(int32_t* ifltab, const char* path, int32_t path_len,
                              const int32_t* nord, const int32_t* ncurve, const int32_t* ihoriz,
                              const char* units1, int32_t units1_len, const char* type1,
                              int32_t type1_len, const char* units2, int32_t units2_len,
                              const char* type2, int32_t type2_len, const float* values,
                              const char* labels, int32_t labels_len, const int32_t* has_labels,
                              const int32_t* user_header, const int32_t* user_header_count,
                              const int32_t* plan, int32_t* status);

#endif  // VARNOCK_ENGINE_HECLIB_HECLIB_ABI_H_
