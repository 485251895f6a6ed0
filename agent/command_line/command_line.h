// What the command line asks for.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/listen_address.h"

namespace tly::agent {

enum class Command { kVersion, kList, kRead, kWatch, kSchema, kEvents, kServe };
enum class Format { kTable, kJson, kCsv };

struct SchemaRequest {
  bool wants_id = false;
  bool wants_type_system = false;
  std::optional<std::string> save_directory;
  // A saved schema in place of that of the selection; one of the two at most.
  std::optional<std::string> saved_file;
  std::string saved_id;         // empty: none
  std::string directory = ".";  // where the id is looked for

  bool is_of_saved() const { return saved_file || !saved_id.empty(); }
};

struct CommandLine {
  Command command = Command::kList;

  std::string library;  // empty: the library is searched for
  std::string client;   // empty: the environment decides
  std::vector<std::string> enable;
  std::vector<std::string> disable;
  std::vector<std::string> counters;
  std::uint32_t log_level = 0;
  std::string log_file;  // empty: standard error

  bool list_as_json = false;
  Format format = Format::kTable;
  std::uint64_t count = 0;  // 0: until stopped
  std::chrono::nanoseconds interval{};
  std::chrono::nanoseconds timeout{};
  SchemaRequest schema;
  std::optional<std::chrono::nanoseconds> duration;
  std::optional<std::string> raw_file;
  std::optional<std::string> types_file;
  ListenAddress listen{"127.0.0.1", 9877};
};

// Nothing when the command line only asked for help, which has then been printed. Throws Failure
// for a wrong command line.
std::optional<CommandLine> parse_command_line(int argc, char** argv);

}  // namespace tly::agent
