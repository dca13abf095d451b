// The common base of every automation object and interface.
#ifndef VARNOCK_OBJECT_H_
#define VARNOCK_OBJECT_H_

#include <memory>

#define VARNOCK_API __attribute__((visibility("default")))

namespace varnock {

class VARNOCK_API Object : public std::enable_shared_from_this<Object> {
 public:
  virtual ~Object() = default;
};

}  // namespace varnock

#endif  // VARNOCK_OBJECT_H_
