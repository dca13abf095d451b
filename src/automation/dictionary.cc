#include "varnock/dictionary.h"

#include "varnock/error.h"

namespace varnock {

void Dictionary::Add(const std::string& key, Variant item) {
  if (Exists(key)) RaiseHostError(457);
  index_.emplace(key, keys_.size());
  keys_.push_back(key);
  items_.push_back(std::move(item));
}

Variant Dictionary::Item(const std::string& key) const {
  auto found = index_.find(key);
  return found == index_.end() ? Variant() : items_[found->second];
}

void Dictionary::Item(const std::string& key, Variant item) {
  auto found = index_.find(key);
  if (found == index_.end()) {
    Add(key, std::move(item));
  } else {
    items_[found->second] = std::move(item);
  }
}

void Dictionary::Remove(const std::string& key) {
  auto found = index_.find(key);
  if (found == index_.end()) RaiseHostError(32811);
  const size_t position = found->second;
  keys_.erase(keys_.begin() + static_cast<std::ptrdiff_t>(position));
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(position));
  index_.erase(found);
  for (auto& entry : index_) {
    if (entry.second > position) --entry.second;
  }
}

void Dictionary::RemoveAll() {
  keys_.clear();
  items_.clear();
  index_.clear();
}

}  // namespace varnock
