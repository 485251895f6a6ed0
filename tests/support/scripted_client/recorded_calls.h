// The calls that a scripted client received.
#pragma once

#include <string>
#include <vector>

#include "environment.h"

namespace tly::test {

// While alive, scripted clients of this process record their calls.
class RecordedCalls {
 public:
  std::vector<std::string> lines() const {
    std::ifstream file(path_);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
      lines.push_back(line);
    }
    return lines;
  }

  void clear() { std::filesystem::remove(path_); }

 private:
  TemporaryDirectory directory_;
  std::filesystem::path path_ = directory_.path() / "record";
  ScopedEnv variable_{"SCRIPTED_CLIENT_RECORD", path_.c_str()};
};

}  // namespace tly::test
