// The most memory that samples hold at a time, the output of the tool and what the C library and
// the sample before hold included, as a multiple of the tool output's size.
//   tallyra-sample-memory
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "vintor/collector.h"

namespace {

std::size_t live_bytes = 0;
std::size_t most_live_bytes = 0;

void* count(void* block) {
  live_bytes += malloc_usable_size(block);
  most_live_bytes = std::max(most_live_bytes, live_bytes);
  return block;
}

}  // namespace

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) { return count(__libc_malloc(size)); }
void* calloc(std::size_t number, std::size_t size) { return count(__libc_calloc(number, size)); }
// A block that moves is there twice meanwhile.
void* realloc(void* block, std::size_t size) {
  const std::size_t before = malloc_usable_size(block);
  void* const grown = count(__libc_realloc(block, size));
  if (grown != nullptr || size == 0) {
    live_bytes -= before;
  }
  return grown;
}
void free(void* block) {
  live_bytes -= malloc_usable_size(block);
  __libc_free(block);
}
}

namespace {

constexpr int kInstances = 192;
constexpr int kCountersPerInstance = 17;

// 81 KB in one section, so that all of it is parsed at once.
std::string tool_output() {
  std::string output = "=== pmc_res ===\n{\n";
  for (int instance = 0; instance < kInstances; ++instance) {
    output += "\"cpu" + std::to_string(instance) + "\": {\n";
    for (int counter = 0; counter < kCountersPerInstance; ++counter) {
      output += "  \"count_" + std::to_string(counter) +
                "\": " + std::to_string(1'000'003L * instance + counter) +
                (counter + 1 < kCountersPerInstance ? ",\n" : "\n");
    }
    output += instance + 1 < kInstances ? "},\n" : "}\n";
  }
  return output + "}\n";
}

// Puts a python3 first in PATH that prints the output.
void replace_tool(const std::filesystem::path& directory, const std::string& output) {
  std::ofstream(directory / "output") << output;
  std::ofstream(directory / "python3")
      << "#!/bin/sh\ncat '" << (directory / "output").string() << "'\n";
  std::filesystem::permissions(directory / "python3", std::filesystem::perms::owner_all);
  const char* const path = std::getenv("PATH");
  setenv("PATH", (directory.string() + ":" + (path != nullptr ? path : "/bin")).c_str(), 1);
}

}  // namespace

int main() {
  std::string directory = std::filesystem::temp_directory_path() / "tallyra-bench-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr) {
    std::perror(directory.c_str());
    return 1;
  }
  const std::string output = tool_output();
  replace_tool(directory, output);

  int result = 0;
  const std::size_t before = live_bytes;
  vintor::collector::Collector collector;
  for (const char* sample : {"first", "second", "third"}) {
    most_live_bytes = live_bytes;
    const bool is_sampled = collector.doCollection();
    const auto size = static_cast<double>(output.size());
    std::printf("%-6s sample: at most %.2f times the output's %zu bytes; kept %.2f times\n", sample,
                static_cast<double>(most_live_bytes - before) / size, output.size(),
                static_cast<double>(live_bytes - before) / size);
    if (!is_sampled) {
      std::fputs("the sample failed\n", stderr);
      result = 1;
    }
  }
  std::filesystem::remove_all(directory);
  return result;
}
