// The common base of every automation object and interface.
#ifndef VARNOCK_OBJECT_H_
#define VARNOCK_OBJECT_H_

#include <memory>

// Every public header includes this one: say plainly what a consumer's compiler needs.
#if __cplusplus < 202002L
#error "Varnock's headers need C++20: compile with -std=c++20 (CMake: cxx_std_20)"
#endif

#define VARNOCK_API __attribute__((visibility("default")))

namespace varnock {

class VARNOCK_API Object : public std::enable_shared_from_this<Object> {
 public:
  virtual ~Object() = default;
};

}  // namespace varnock

#endif  // VARNOCK_OBJECT_H_
