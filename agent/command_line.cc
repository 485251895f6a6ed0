#include "command_line.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <map>
#include <memory>
#include <system_error>

#include "duration.h"
#include "failure.h"
#include "tallyra/logging.h"
#include "tallyra/schema_id.h"

namespace tly::agent {
namespace {

using namespace std::chrono_literals;

constexpr const char* kDescription =
    "Shows the performance counters of this machine through the Tallyra plug-in library.";

constexpr const char* kSelectionHelp = R"(Selecting
  Components are named provider.component (vintor.pmc_res), counters
  component:instance:counter (pmc_res:cpu0:user_ms). Patterns are the shell's wildcards, in any
  case; quote them. As soon as there is an --enable or --disable pattern, a component is offered
  when an enable pattern matches it and no disable pattern does; with --disable alone all others
  are enabled. What both match is disabled, with a warning in the log.)";

constexpr const char* kExamples = R"(Examples
  tallyra-agent list                                   what there is
  tallyra-agent read                                   all counters, once
  tallyra-agent read -n 60 -i 1s -f csv > minute.csv   a minute of samples
  tallyra-agent read -f json -c 'pmc_res:cpu0:*'       one JSON object per sample
  tallyra-agent watch -c '*:user_ms' -c '*:rx_bytes*'       a table that follows the counters
  tallyra-agent --disable vintor.pmc_res_bw list       without one component
  tallyra-agent schema --save /var/lib/schemas         keep how the values are laid out)";

constexpr const char* kEnvironment = R"(Environment
  TALLYRA_LIBRARY        the library, unless --library names one. Without either, the agent takes
                         libvintor_provider.so from its own directory, from the library directory
                         installed with it, or from where the dynamic loader finds it.
  TLY_VINTOR_SAMPLE_INTERVAL_NSEC
                         how often the library samples. When it is not set, that is once per
                         --interval and at least every second.
  TLY_API_LOG_LEVEL      the log level while the library is being loaded, before --log-level
                         takes effect)";

constexpr const char* kExitStatus = R"(Exit status
  0    success; also when a signal ended watch or an endless read
  1    failure without a status of its own, such as output that cannot be written
  2    wrong command line
  3    the library cannot be loaded or lacks a function
  4    the library's tool is missing or what it prints is unusable
  5    no component is enabled, or a counter pattern matches nothing
  6    the tool did not answer, or no sample arrived, within --timeout
  7    a schema file cannot be read or written, or does not hold what is asked for
  130  interrupted before the last sample (143: terminated, 129: hung up, 131: quit);
       141 when the output is a pipe that nobody reads any more)";

constexpr const char* kReadNotes = R"(Formats
  table  one table per sample
  json   one object per line: "timestamp" (UTC), "provider", and "values" by component and counter
  csv    a line of headings, then one line per sample
  Numbers are written in full: integers digit by digit, doubles so that they read back the same.
  An integer counter without a value is '-' in a table, null in JSON, empty in CSV; the library
  gives 0 for any other counter without one.

When the library's tool fails, the library goes on giving the last good sample and says so in its
log only. The options of all commands are shown by 'tallyra-agent --help'.)";

constexpr const char* kWatchNotes =
    R"(The table shows each counter's value, the change per second of running sums, and the trend of that
change (of the value for the others) between its lowest and its highest. Ctrl-C or q ends it. When
standard output is no terminal, plain tables are printed one after another.

When the library's tool fails, the library goes on giving the last good sample; the top line then
says for how long the values have been the same. The options of all commands are shown by
'tallyra-agent --help'.)";

constexpr const char* kSchemaNotes =
    R"(The counters schema lists the selected counters with their types and with the places of their
values. It is printed as the library serializes it, so that its MD5 is its id:
  tallyra-agent schema | md5sum
Only on a terminal a newline follows. A type system holds a counters schema and event schemas; its
--id are several lines, each an id and what it names: the type system, the counters schema, and
every event schema. A loaded schema is printed as what it is.

  tallyra-agent schema --id                            the id alone
  tallyra-agent schema --save /tmp                     prints /tmp/schema_<id>.json
  tallyra-agent schema --load /tmp/schema_<id>.json    what was saved, without any tool

The options of all commands are shown by 'tallyra-agent --help'.)";

constexpr const char* kListNotes =
    "The options of all commands are shown by 'tallyra-agent --help'.";

const std::map<std::string, std::uint32_t> kLogLevels = {{"none", 0},
                                                         {"error", TLY_LOG_LEVEL_ERROR},
                                                         {"warning", TLY_LOG_LEVEL_WARNING},
                                                         {"info", TLY_LOG_LEVEL_INFO},
                                                         {"debug", TLY_LOG_LEVEL_DEBUG}};

const std::map<std::string, Format> kFormats = {
    {"table", Format::kTable}, {"json", Format::kJson}, {"csv", Format::kCsv}};

// An option whose text is turned into its value by `parse`, which gives nothing for a text that is
// not what `expected` says.
template <typename Value, typename Parse>
CLI::Option* add_parsed_option(CLI::App& app, const std::string& names, Value& value, Parse parse,
                               const std::string& expected, const std::string& description) {
  return app.add_option_function<std::string>(
      names,
      [&value, parse, expected, names](const std::string& text) {
        const std::optional<Value> parsed = parse(text);
        if (!parsed) {
          throw CLI::ValidationError(names, "'" + text + "' is not " + expected);
        }
        value = *parsed;
      },
      description);
}

std::optional<std::uint64_t> parse_count(const std::string& text) {
  std::uint64_t count = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, count);
  return error == std::errc() && rest == end ? std::optional(count) : std::nullopt;
}

std::optional<std::uint32_t> parse_log_level(const std::string& text) {
  const auto named = kLogLevels.find(text);
  if (named != kLogLevels.end()) {
    return named->second;
  }
  const std::optional<std::uint64_t> number = parse_count(text);
  const bool is_level = number && *number <= TLY_LOG_LEVEL_DEBUG;
  return is_level ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

std::optional<Format> parse_format(const std::string& text) {
  const auto named = kFormats.find(text);
  return named != kFormats.end() ? std::optional(named->second) : std::nullopt;
}

// Not all zeros: that is no schema's id.
std::optional<std::string> parse_schema_id(const std::string& text) {
  const bool is_id = text.size() == TLY_SCHEMA_ID_STRING_SIZE - 1 &&
                     text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos &&
                     text.find_first_not_of('0') != std::string::npos;
  return is_id ? std::optional(text) : std::nullopt;
}

void add_duration(CLI::App& command, const std::string& names, std::chrono::nanoseconds& duration,
                  const std::string& description) {
  add_parsed_option(command, names, duration, parse_duration,
                    "a duration from 1ms to 24h, such as 500ms, 1.5s or 2m", description)
      ->type_name("DURATION");
}

void add_patterns(CLI::App& app, const std::string& names, std::vector<std::string>& patterns,
                  const std::string& description) {
  app.add_option(names, patterns, description)->type_name("PATTERN")->allow_extra_args(false);
}

void add_common_options(CLI::App& app, CommandLine& parsed) {
  app.add_option("--library", parsed.library,
                 "Load this library; a name without a slash\nis left to the dynamic loader")
      ->type_name("PATH");
  add_patterns(app, "--enable", parsed.enable,
               "Offer the components that match; repeatable,\nalso a list separated by commas");
  add_patterns(app, "--disable", parsed.disable, "Leave out the components that match; likewise");
  add_patterns(app, "-c,--counter", parsed.counters,
               "Only the counters whose names match; repeatable");
  add_parsed_option(app, "--log-level", parsed.log_level, parse_log_level,
                    "none, error, warning, info, debug or a number from 0 to 7",
                    "What the library logs: none, error, warning,\ninfo, debug, or a number from 0 "
                    "to 7 (error)")
      ->type_name("LEVEL");
  app.add_option("--log-file", parsed.log_file,
                 "Append the log to this file instead of standard\nerror")
      ->type_name("PATH");
}

void add_timeout(CLI::App& command, CommandLine& parsed) {
  add_duration(command, "--timeout", parsed.timeout,
               "How long to wait for the tool and the first sample (10s)");
}

void add_sampling_options(CLI::App& command, CommandLine& parsed, const char* default_count) {
  add_parsed_option(command, "-n,--count", parsed.count, parse_count, "a whole number",
                    std::string("Stop after N samples, 0 for never (") + default_count + ")")
      ->type_name("N");
  add_duration(command, "-i,--interval", parsed.interval,
               "Time between samples: ms, s, m or h (1s)");
  add_timeout(command, parsed);
}

void add_schema_options(CLI::App& command, SchemaRequest& request) {
  command.add_flag("--id", request.wants_id, "Print only the id");
  command.add_flag("--type-system", request.wants_type_system,
                   "A whole type system with this counters\nschema instead of the schema alone");
  command
      .add_option("--save", request.save_directory,
                  "Write it to the file schema_<id>.json in this\ndirectory and print the path")
      ->type_name("DIR");
  command
      .add_option("--load", request.saved_file,
                  "A saved counters schema or type system instead\nof the selected counters'")
      ->type_name("FILE");
  add_parsed_option(command, "--load-id", request.saved_id, parse_schema_id,
                    "a schema id of 32 hexadecimal digits, not all 0",
                    "Likewise the counters schema with this id")
      ->type_name("ID");
  command
      .add_option("--dir", request.directory,
                  "Where --load-id finds schema_<id>.json (the\ncurrent directory)")
      ->type_name("DIR");
}

class CommandLineParser {
 public:
  CommandLineParser() : app_(kDescription, "tallyra-agent") {
    const auto formatter = std::make_shared<CLI::Formatter>();
    formatter->column_width(28);
    formatter->label("SUBCOMMAND", "COMMAND");
    app_.formatter(formatter);
    app_.set_help_flag("-h,--help", "Print this help and exit");
    app_.add_flag("-V,--version", version_, "Print the versions of agent and library and exit");
    app_.require_subcommand(0, 1);
    app_.footer(std::string(kSelectionHelp) + "\n\n" + kExamples + "\n\n" + kEnvironment + "\n\n" +
                kExitStatus);
    add_common_options(app_, parsed_);
    list_ = add_command("list", "Show provider, components and counters", kListNotes);
    list_->add_flag("--json", parsed_.list_as_json, "Print JSON instead of text");
    add_timeout(*list_, parsed_);
    read_ = add_command("read", "Read samples and print them", kReadNotes);
    add_parsed_option(*read_, "-f,--format", parsed_.format, parse_format, "table, json or csv",
                      "table, json or csv (table)")
        ->type_name("FORMAT");
    add_sampling_options(*read_, parsed_, "1");
    watch_ = add_command("watch", "Follow the counters in a table", kWatchNotes);
    add_sampling_options(*watch_, parsed_, "0");
    schema_ = add_command("schema", "Show how the values are laid out", kSchemaNotes);
    add_schema_options(*schema_, parsed_.schema);
    add_timeout(*schema_, parsed_);
  }

  std::optional<CommandLine> parse(int argc, char** argv) {
    parsed_.log_level = TLY_LOG_LEVEL_ERROR;
    parsed_.interval = 1s;
    parsed_.timeout = 10s;
    try {
      app_.parse(argc, argv);
    } catch (const CLI::Success& help) {
      app_.exit(help);
      return std::nullopt;
    } catch (const CLI::ExtrasError&) {
      throw usage_failure("unexpected argument '" + app_.remaining(true).front() + "'");
    } catch (const CLI::ParseError& error) {
      throw usage_failure(error.what());
    }
    choose_command();
    return std::move(parsed_);
  }

 private:
  CLI::App* add_command(const char* name, const char* description, const char* notes) {
    CLI::App* const command = app_.add_subcommand(name, description);
    command->fallthrough();
    command->footer(notes);
    command->group("Commands");
    return command;
  }

  void choose_command() {
    if (version_) {
      parsed_.command = Command::kVersion;
    } else if (list_->parsed()) {
      parsed_.command = Command::kList;
    } else if (read_->parsed()) {
      parsed_.command = Command::kRead;
      parsed_.count = read_->count("--count") > 0 ? parsed_.count : 1;
    } else if (watch_->parsed()) {
      parsed_.command = Command::kWatch;
    } else if (schema_->parsed()) {
      parsed_.command = Command::kSchema;
      check_schema_options();
    } else {
      throw usage_failure("a command is missing: list, read, watch or schema");
    }
  }

  void check_schema_options() const {
    const SchemaRequest& request = parsed_.schema;
    const bool selects =
        !parsed_.enable.empty() || !parsed_.disable.empty() || !parsed_.counters.empty();
    if (request.wants_id && request.save_directory) {
      throw usage_failure("--id and --save do not go together: the path of the file has the id");
    }
    if (request.saved_file && !request.saved_id.empty()) {
      throw usage_failure("--load and --load-id do not go together");
    }
    if (schema_->count("--dir") > 0 && request.saved_id.empty()) {
      throw usage_failure("--dir is for --load-id only");
    }
    if (request.is_of_saved() && selects) {
      throw usage_failure(
          "a saved schema is taken whole: --enable, --disable and --counter do "
          "not go with --load and --load-id");
    }
  }

  static Failure usage_failure(const std::string& message) {
    return {ExitCode::kUsage, message, "try 'tallyra-agent --help'"};
  }

  CLI::App app_;
  CommandLine parsed_;
  bool version_ = false;
  CLI::App* list_ = nullptr;
  CLI::App* read_ = nullptr;
  CLI::App* watch_ = nullptr;
  CLI::App* schema_ = nullptr;
};

}  // namespace

std::optional<CommandLine> parse_command_line(int argc, char** argv) {
  return CommandLineParser().parse(argc, argv);
}

}  // namespace tly::agent
