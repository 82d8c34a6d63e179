// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>

namespace lightpen {

// A pointer that holds the object's lock for as long as it lives, which is the expression it is used in:
//   unit.flash()->erase();
template <class Object>
class Guarded {
public:
    // Waits for the lock.
    Guarded(Object& object, std::recursive_mutex& mutex) : object_(object), hold_(mutex) {}
    Object* operator->() const { return &object_; }
    Object& operator*() const { return object_; }

private:
    Object& object_;
    std::unique_lock<std::recursive_mutex> hold_;
};

} // namespace lightpen
