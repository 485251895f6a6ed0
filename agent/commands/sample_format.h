// One sample in the formats of the read command.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "command_line/command_line.h"
#include "host/session.h"

namespace tly::agent {

struct Sample {
  const Session& session;
  std::chrono::system_clock::time_point time;
  std::uint64_t number;  // from 1
};

// What the sample adds to the output, headings included where they come before the first sample.
std::string sample_text(const Sample& sample, Format format);

}  // namespace tly::agent
