// The lines of a rule file or of the main settings file, held against the names that the service reads.
#pragma once

#include <span>
#include <vector>

#include "config/PlainIni.h"
#include "os/Files.h"
#include "ovsctl/check/CheckFindings.h"

namespace ovs {

// Unknown, misplaced and repeated sections and keys, lines that are none, and values that are not what they should be.
void CheckIniLines(os::Files& files, const PlainIni& ini, std::span<const SettingName> known, Findings& findings);

// The number of the line whose value is read, or whose section it is; 0 when there is none.
[[nodiscard]] std::size_t LineOfKey(std::span<const PlainIni::Line> lines, const SettingName& setting);
[[nodiscard]] std::size_t LineOfSection(std::span<const PlainIni::Line> lines, TextView section);

// The value that the service reads.
[[nodiscard]] Text ValueOf(const PlainIni& ini, const SettingName& setting);

}  // namespace ovs
