// JSON as the commands print it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "ovsctl/cli/Console.h"

namespace ovs::Console {

// Pure ASCII: what a terminal must not see is escaped with everything else. `indent` blanks a level; -1 for one line.
[[nodiscard]] inline std::string JsonText(const nlohmann::ordered_json& json, int indent) {
  return json.dump(indent, ' ', /*ensure_ascii=*/true, nlohmann::json::error_handler_t::replace);
}

inline void PrintJson(const nlohmann::ordered_json& json) { Print(JsonText(json, 2)); }

}  // namespace ovs::Console
