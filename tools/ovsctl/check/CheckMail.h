// The settings of the alert e-mail, as a whole.
#pragma once

#include <span>

#include "config/PlainIni.h"
#include "ovsctl/check/CheckFindings.h"
#include "ovsctl/cli/Installation.h"

namespace ovs {

// Finds what the settings of [EmailConfig] lack, or where they do not fit together, when alerts are mailed. Mistakes in one
// value alone are found with the lines. The findings belong to the file that `findings` is at.
void CheckMailSettings(Installation& installation, const PlainIni& ini, Findings& findings);

}  // namespace ovs
