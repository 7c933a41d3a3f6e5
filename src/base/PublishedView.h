#pragma once

#include <utility>

#include "base/Published.h"

namespace tavorin {

// What an owner shows of one of its Published fields: others read and observe
// it, only the owner assigns. Main thread only, like the field; it must not
// outlive its owner.
template <class T>
class PublishedView {
 public:
  using Observer = typename Published<T>::Observer;

  explicit PublishedView(Published<T>& field) : field_(&field) {}

  const T& get() const { return field_->get(); }
  const T& operator*() const { return field_->get(); }
  const T* operator->() const { return &field_->get(); }

  [[nodiscard]] Subscription subscribe(Observer observer) const { return field_->subscribe(std::move(observer)); }

 private:
  Published<T>* field_;
};

}  // namespace tavorin
