// Stands in for the external tool: a directory of commands, first in PATH while the shim is alive.
#pragma once

#include <string>

#include "environment.h"

namespace tly::test {

class ToolShim {
 public:
  // The tool is there, prints nothing and succeeds.
  ToolShim();

  // What the next runs of the tool do. Runs under way are not disturbed.
  void print(const std::string& output, int exit_status = 0);
  // The same by a shell script, in which $shim is the directory.
  void behave(const std::string& script);
  void remove_tool();

  // Puts a file beside the commands.
  void write(const std::string& name, const std::string& content) {
    directory_.write(name, content);
  }
  // How often the tool was started.
  std::size_t runs() const;

 private:
  TemporaryDirectory directory_;
  ScopedEnv path_;
  int outputs_ = 0;
};

}  // namespace tly::test
