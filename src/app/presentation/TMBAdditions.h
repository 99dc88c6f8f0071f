#pragma once

#include <functional>
#include <string_view>

#include "base/Value.h"

namespace zpk {

// Look-ups on a list of dictionaries. An element that is no dictionary, or has no entry for the key, never matches;
// the first match ends the search.

// The first element whose entry for `key` equals `equalTo`; the null value when there is none.
Value objectWithValueForKey(const Array& array, std::string_view key, const Value& equalTo);

// The first element whose entry for `key` is a number other than 0; the null value when there is none. Texts such
// as "YES" do not count.
Value objectWithTrueBoolValueForKey(const Array& array, std::string_view key);

// What `function` answers for each element, in order, without the null values among it.
Array map(const Array& array, const std::function<Value(const Value&)>& function);

}  // namespace zpk
