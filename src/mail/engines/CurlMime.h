// The parts of a mail as libcurl takes them, and owners of what libcurl allocates.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>
#include <vector>

#include "mail/engines/CurlTransfer.h"
#include "os/Files.h"

namespace ovs {

struct CurlListFree {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using CurlList = std::unique_ptr<curl_slist, CurlListFree>;

struct CurlMimeFree {
  void operator()(curl_mime* mime) const { curl_mime_free(mime); }
};
using CurlMime = std::unique_ptr<curl_mime, CurlMimeFree>;

// For an owner whose object a call has taken over.
template <class Owner>
void HandedOver(Owner& owner) {
  [[maybe_unused]] const auto* const given = owner.release();
}

[[nodiscard]] CurlList NewCurlList(const std::vector<std::string>& items);

// Body, logo and attachments. A file that cannot be opened any more is left out. `files` must outlive the result.
[[nodiscard]] CurlMime NewCurlMime(CURL* easy, os::Files& files, const CurlJob& job);

}  // namespace ovs
