// Ownership of Jansson values, made visible in the type.
//
// Jansson's rule: a function returning a "new reference" hands the caller one reference that
// it must drop with json_decref; a "borrowed reference" belongs to its parent and must not be
// dropped; a function ending in _new ("steals") takes over the reference passed to it.
// Here JsonPtr holds a new reference and drops it on scope exit; a plain json_t* or
// const json_t* is always borrowed. Documents are built by the builders of
// protocol/json_build.h, which take each child as a JsonPtr.
#ifndef TAVIO_JSON_REF_H
#define TAVIO_JSON_REF_H

#include <jansson.h>

#include <memory>

namespace tavio {

struct JsonDecref {
  void operator()(json_t* value) const { json_decref(value); }
};

/// An owned (new) reference to a Jansson value.
using JsonPtr = std::unique_ptr<json_t, JsonDecref>;

/// Takes ownership of a new reference returned by Jansson.
inline JsonPtr json_own(json_t* new_reference) { return JsonPtr(new_reference); }

/// Takes an extra reference on a borrowed value, so it outlives its parent.
inline JsonPtr json_share(json_t* borrowed) { return JsonPtr(json_incref(borrowed)); }

struct JsonTextFree {
  void operator()(char* text) const {
    json_free_t give_back = nullptr;
    json_get_alloc_funcs(nullptr, &give_back);
    give_back(text);
  }
};

/// Text written by json_dumps, given back to the allocator Jansson took it from.
using JsonText = std::unique_ptr<char, JsonTextFree>;

}  // namespace tavio

#endif
