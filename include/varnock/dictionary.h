// Dictionary: the scripting runtime's dictionary, keyed by text, in insertion order.
#ifndef VARNOCK_DICTIONARY_H_
#define VARNOCK_DICTIONARY_H_

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "varnock/object.h"
#include "varnock/variant.h"

namespace varnock {

class VARNOCK_API Dictionary : public Object {
 public:
  int32_t Count() const { return static_cast<int32_t>(keys_.size()); }
  bool Exists(const std::string& key) const { return index_.count(key) != 0; }
  // Raises 457 "This key is already associated with an element of this collection" on a
  // duplicate key.
  void Add(const std::string& key, Variant item);
  // The item of a key; an unknown key gives Empty.
  Variant Item(const std::string& key) const;
  // Sets the item of a key, adding the key when it is new.
  void Item(const std::string& key, Variant item);
  // Raises 32811 "Element not found" for an unknown key.
  void Remove(const std::string& key);
  void RemoveAll();
  const std::vector<std::string>& Keys() const { return keys_; }
  const std::vector<Variant>& Items() const { return items_; }

 private:
  std::vector<std::string> keys_;
  std::vector<Variant> items_;
  std::unordered_map<std::string, size_t> index_;
};

}  // namespace varnock

#endif  // VARNOCK_DICTIONARY_H_
