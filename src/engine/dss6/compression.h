// DSS-6's numeric compression of regular float blocks, on read: repeats, scaled integers
// ("delta") and three significant digits, alone or after repeats (schemes 1 to 5).
#ifndef VARNOCK_ENGINE_DSS6_COMPRESSION_H_
#define VARNOCK_ENGINE_DSS6_COMPRESSION_H_

#include <cstdint>
#include <span>

#include "engine/dss6/codec.h"

namespace varnock::engine::dss6 {

// Expands `data` into out.size() floats as the compression header describes. kDamaged when the
// header's markers, version, scheme or count disagree with the areas, or the data run short.
Status Decompress(std::span<const int32_t> header, std::span<const int32_t> data,
                  std::span<float> out);

// HEC's power of ten for the significant-digit codes, computed in single precision as HEC does
// (it differs from the correctly rounded value in the last bit for some exponents).
float HecPowerOfTen(int k);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_COMPRESSION_H_
