// Port: replacing a file that holds secrets.
#pragma once

#include <string_view>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::os {

// Replaces the file's content whole, or makes the file: another file beside it is written, flushed and renamed, and removed
// again when that fails. At no moment may anybody read either who may not read the file now; one that is new has the
// rights of its folder on Windows and is its owner's alone elsewhere. A failure leaves the file as it was. What is
// read-only or no plain file is refused.
Error ReplaceFileSafely(TextView path, std::string_view bytes);

}  // namespace ovs::os
