// Walks a JSON text and reports every number in it with the path of object keys that leads to it.
#pragma once

#include <string>
#include <vector>

#include "tallyra/parson.h"

namespace vintor::collector {

// Receives one number. It may read the key path, which holds the keys from the outermost object to
// the number's own, and must leave it as it found it.
using LeafCallback = void (*)(std::vector<std::string>& key_path, double value, void* context);

// Parses the text, comments allowed, and walks the value; `first_key` opens every key path unless
// it is empty. False when the text is no JSON; what the walk meets does not count.
bool enumerate_json(const char* text, LeafCallback callback, void* context,
                    const std::string& first_key);

// Enters objects in member order. Values that are neither numbers nor objects draw a warning and
// are passed over, arrays with all they hold.
void walk_json_value(const JSON_Value* value, std::vector<std::string>& key_path,
                     LeafCallback callback, void* context);

}  // namespace vintor::collector
