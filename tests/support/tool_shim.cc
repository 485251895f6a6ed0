#include "tool_shim.h"

namespace tly::test {
namespace {

constexpr char kListCommand[] =
    R"([ "$*" = "-l /usr/bin/vintor_pmc" ] && [ -e "$shim/behaviour" ])";
// The script itself never changes: one that is being written cannot be executed.
constexpr char kTool[] = R"([ "$*" = "/usr/bin/vintor_pmc" ] || exit 99
echo >> "$shim/runs"
. "$shim/behaviour")";

}  // namespace

ToolShim::ToolShim()
    : path_("PATH", (directory_.path().string() + ":" + std::getenv("PATH")).c_str()) {
  const std::string head = "#!/bin/sh\nshim='" + directory_.path().string() + "'\n";
  for (const auto& [name, body] : {std::pair{"ls", kListCommand}, std::pair{"python3", kTool}}) {
    std::filesystem::permissions(directory_.write(name, head + body + "\n"),
                                 std::filesystem::perms::owner_all);
  }
  behave(":");
}

void ToolShim::print(const std::string& output, int exit_status) {
  const std::string name = "output." + std::to_string(outputs_++);
  write(name, output);
  behave("cat \"$shim/" + name + "\"; exit " + std::to_string(exit_status));
}

void ToolShim::behave(const std::string& script) {
  std::filesystem::rename(directory_.write("behaviour.new", script + "\n"),
                          directory_.path() / "behaviour");
}

void ToolShim::remove_tool() { std::filesystem::remove(directory_.path() / "behaviour"); }

std::size_t ToolShim::runs() const {
  std::error_code none_yet;
  const auto size = std::filesystem::file_size(directory_.path() / "runs", none_yet);
  return none_yet ? 0 : static_cast<std::size_t>(size);
}

}  // namespace tly::test
