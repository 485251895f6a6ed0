// What is reported when the provider refuses something.
#pragma once

#include <string>

#include "common/failure.h"
#include "tallyra/counter_provider.h"

namespace tly::agent {

// "the provider does not <what> of component <its name>"
inline Failure refusal(const tly_component_t& component, const char* what) {
  return {ExitCode::kFailure,
          std::string("the provider does not ") + what + " of component " +
              (component.name != nullptr ? component.name : "(no name)"),
          "run this command again with --log-level debug to see why"};
}

}  // namespace tly::agent
