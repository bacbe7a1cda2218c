#include "os/posix/PosixErrors.h"

#include <algorithm>
#include <iterator>

namespace ovs::posix {

namespace {

struct Message {
  std::uint32_t number;
  TextView text;
};

constexpr Message kMessages[] = {
    {0, u"The operation completed successfully."},
    {1, u"Incorrect function."},
    {2, u"The system cannot find the file specified."},
    {3, u"The system cannot find the path specified."},
    {4, u"The system cannot open the file."},
    {5, u"Access is denied."},
    {6, u"The handle is invalid."},
    {8, u"Not enough memory resources are available to process this command."},
    {13, u"The data is invalid."},
    {14, u"Not enough memory resources are available to complete this operation."},
    {15, u"The system cannot find the drive specified."},
    {17, u"The system cannot move the file to a different disk drive."},
    {18, u"There are no more files."},
    {19, u"The media is write protected."},
    {21, u"The device is not ready."},
    {31, u"A device attached to the system is not functioning."},
    {32, u"The process cannot access the file because it is being used by another process."},
    {33, u"The process cannot access the file because another process has locked a portion of the file."},
    {38, u"Reached the end of the file."},
    {50, u"The request is not supported."},
    {53, u"The network path was not found."},
    {67, u"The network name cannot be found."},
    {80, u"The file exists."},
    {87, u"The parameter is incorrect."},
    {109, u"The pipe has been ended."},
    {111, u"The file name is too long."},
    {112, u"There is not enough space on the disk."},
    {120, u"This function is not supported on this system."},
    {122, u"The data area passed to a system call is too small."},
    {123, u"The filename, directory name, or volume label syntax is incorrect."},
    {126, u"The specified module could not be found."},
    {127, u"The specified procedure could not be found."},
    {145, u"The directory is not empty."},
    {161, u"The specified path is invalid."},
    {170, u"The requested resource is in use."},
    {183, u"Cannot create a file when that file already exists."},
    {206, u"The filename or extension is too long."},
    {223, u"The file size exceeds the limit allowed and cannot be saved."},
    {234, u"More data is available."},
    {258, u"The wait operation timed out."},
    {259, u"No more data is available."},
    {267, u"The directory name is invalid."},
    {998, u"Invalid access to memory location."},
    {1018, u"Illegal operation attempted on a registry key that has been marked for deletion."},
    {1063, u"The service process could not connect to the service controller."},
    {1117, u"The request could not be performed because of an I/O device error."},
    {1400, u"Invalid window handle."},
    {1812, u"The specified image file did not contain a resource section."},
    {1813, u"The specified resource type cannot be found in the image file."},
};

}  // namespace

std::optional<Text> MessageOf(std::uint32_t number) {
  const auto* const found = std::ranges::find(kMessages, number, &Message::number);
  if (found == std::end(kMessages)) return std::nullopt;
  return Text(found->text) + Text(kCrLf);
}

}  // namespace ovs::posix
