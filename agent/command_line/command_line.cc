#include "command_line/command_line.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "command_line/help_texts.h"
#include "command_line/option_values.h"
#include "common/duration.h"
#include "common/failure.h"
#include "output/terminal.h"
#include "tallyra/logging.h"

namespace tly::agent {
namespace {

using namespace std::chrono_literals;

// An option whose text is turned into its value by `parse`, which gives nothing for a text that is
// not what `expected` describes.
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

template <typename Duration>
void add_duration(CLI::App& command, const std::string& names, Duration& duration,
                  const std::string& description) {
  add_parsed_option(command, names, duration, parse_duration,
                    "a duration from 1ms to 24h, such as 500ms, 1.5s or 2m", description)
      ->type_name("DURATION");
}

void add_patterns(CLI::App& app, const std::string& names, std::vector<std::string>& patterns,
                  const std::string& description) {
  app.add_option(names, patterns, description)
      ->type_name("PATTERN")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false)
      ->expected(1);
}

void add_common_options(CLI::App& app, CommandLine& parsed) {
  app.add_option("--library", parsed.library,
                 "Load this library; a name without a slash\nis left to the dynamic loader")
      ->type_name("PATH");
  app.add_option("--client", parsed.client, "Load this remote-executor client; likewise")
      ->type_name("FILE");
  add_patterns(app, "--enable", parsed.enable,
               "Offer the components that match, or with\ngrpc.NAME a remote provider; repeatable, "
               "also a\nlist separated by commas");
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
  add_duration(
      command, "--timeout", parsed.timeout,
      "How long to wait for the tool, for a remote\nprovider, and for the first sample (10s)");
}

void add_sampling_options(CLI::App& command, CommandLine& parsed, const std::string& what,
                          const std::string& default_count) {
  add_parsed_option(command, "-n,--count", parsed.count, parse_count, "a whole number",
                    "Stop after N " + what + ", 0 for never (" + default_count + ")")
      ->type_name("N");
  add_duration(command, "-i,--interval", parsed.interval,
               "Time between " + what + ": ms, s, m or h (1s)");
  add_timeout(command, parsed);
}

void add_events_options(CLI::App& command, CommandLine& parsed) {
  add_sampling_options(command, parsed, "deliveries", "0");
  add_duration(command, "--duration", parsed.duration, "Stop after this time, if not before");
  command.add_option("--raw", parsed.raw_file, "Write the events records to this file instead")
      ->type_name("FILE");
  command
      .add_option(
          "--types", parsed.types_file,
          "Where their types are kept (the name of the --raw\nfile followed by .types.json)")
      ->type_name("FILE");
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
    // Of an option that is given twice the last one counts.
    app_.option_defaults()->take_last();
    app_.set_help_flag("-h,--help", "Print this help and exit");
    app_.add_flag("-V,--version", version_, "Print the versions of agent and library and exit");
    app_.require_subcommand(0, 1);
    app_.footer(std::string(kSelectionHelp) + "\n\n" + kRemoteHelp + "\n\n" + kExamples + "\n\n" +
                kEnvironment + "\n\n" + kExitStatus);
    add_common_options(app_, parsed_);
    list_ = add_command("list", "Show provider, components and counters", kListNotes);
    list_->add_flag("--json", parsed_.list_as_json, "Print JSON instead of text");
    add_timeout(*list_, parsed_);
    read_ = add_command("read", "Read samples and print them", kReadNotes);
    add_parsed_option(*read_, "-f,--format", parsed_.format, parse_format, "table, json or csv",
                      "table, json or csv (table)")
        ->type_name("FORMAT");
    add_sampling_options(*read_, parsed_, "samples", "1");
    watch_ = add_command("watch", "Follow the counters in a table", kWatchNotes);
    add_sampling_options(*watch_, parsed_, "samples", "0");
    schema_ = add_command("schema", "Show how the values are laid out", kSchemaNotes);
    add_schema_options(*schema_, parsed_.schema);
    add_timeout(*schema_, parsed_);
    events_ = add_command("events", "Print the events of remote providers", kEventsNotes);
    add_events_options(*events_, parsed_);
    serve_ = add_command("serve", "Offer the counters to a Prometheus server", kServeNotes);
    add_parsed_option(*serve_, "--listen", parsed_.listen, parse_listen_address,
                      "a numeric IPv4 address and a port, such as 127.0.0.1:9877",
                      "Where to listen (127.0.0.1:9877); port 0 is a\nfree one")
        ->type_name("ADDR:PORT");
    add_timeout(*serve_, parsed_);
  }

  std::optional<CommandLine> parse(int argc, char** argv) {
    parsed_.log_level = TLY_LOG_LEVEL_ERROR;
    parsed_.interval = 1s;
    parsed_.timeout = 10s;
    try {
      app_.parse(argc, argv);
    } catch (const CLI::Success&) {
      write_output(app_.help());
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
    } else if (events_->parsed()) {
      parsed_.command = Command::kEvents;
      check_events_options();
    } else if (serve_->parsed()) {
      parsed_.command = Command::kServe;
    } else {
      throw usage_failure("a command is missing: list, read, watch, schema, events or serve");
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

  void check_events_options() const {
    if (!parsed_.counters.empty()) {
      throw usage_failure("--counter chooses counters, of which events has none");
    }
    if (parsed_.types_file && !parsed_.raw_file) {
      throw usage_failure("--types is for --raw only");
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
  CLI::App* events_ = nullptr;
  CLI::App* serve_ = nullptr;
};

}  // namespace

std::optional<CommandLine> parse_command_line(int argc, char** argv) {
  return CommandLineParser().parse(argc, argv);
}

}  // namespace tly::agent
