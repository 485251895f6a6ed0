// The external tool: where it is and how it is run.
#pragma once

#include <string_view>

namespace vintor::collector {

inline constexpr char kToolPath[] = "/usr/bin/vintor_pmc";

// What discovery and every sample run.
inline constexpr char kToolCommand[] = "python3 /usr/bin/vintor_pmc";

// Succeeds when the tool is there.
inline constexpr char kToolListCommand[] = "ls -l /usr/bin/vintor_pmc";

static_assert(std::string_view(kToolCommand).ends_with(kToolPath));
static_assert(std::string_view(kToolListCommand).ends_with(kToolPath));

}  // namespace vintor::collector
