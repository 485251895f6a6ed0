// The remote-executor client library, which the plug-in library loads while it is being loaded
// itself.
#pragma once

#include <string>

namespace tly::agent {

// Before the plug-in library is loaded: makes it load the client from this file.
void choose_client(const std::string& file);

// After it was loaded: throws Failure when the file chosen is not what it loaded.
void require_client(const std::string& file);

// Whether the process has loaded any client library.
bool has_client();

}  // namespace tly::agent
