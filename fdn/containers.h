#pragma once

#include <list>
#include <map>
#include <vector>

namespace fdn {

// The containers of the interfaces. As with all containers of the C++ library, several threads may read one
// at once, but none may change it while another uses it.

/// A doubly linked list, with the interface of std::list.
template <class T>
using TList = std::list<T>;

/// A growable array, with the interface of std::vector.
template <class T>
using TArray = std::vector<T>;

/// An ordered map with one value per key, with the interface of std::map.
template <class Key, class Value>
using TMap = std::map<Key, Value>;

} // namespace fdn
