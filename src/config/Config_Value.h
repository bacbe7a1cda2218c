// A typed value on its way into the configuration store.
#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include "base/DateTime.h"
#include "base/Text.h"

namespace ovs {

// An amount in ten-thousandths.
struct Currency {
  std::int64_t tenThousandths = 0;
};

// A value of a type that no settings file can hold.
struct UnsupportedValue {
  TextView typeName;
};

using ConfigValue = std::variant<UnsupportedValue, bool, std::uint8_t, std::int16_t, std::int32_t, std::int64_t, float,
                                 double, Currency, DateTime, Text, std::vector<Text>>;

}  // namespace ovs
