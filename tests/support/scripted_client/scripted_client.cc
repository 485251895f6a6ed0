// A remote-executor client library that environment variables control. They are read at each call,
// so a test may change them while the library is loaded.
//
// SCRIPTED_CLIENT_RUN_COMMAND  what qpx_client_run_command does with a command:
//     shell        (the default) runs it by /bin/sh; hands over standard output and standard error
//                  together; true when it exits with 0, else false and nothing handed over
//     empty        true with length 0 and a block that holds only the NUL
//     null-text    true with a null text, though the length is 64
//     fail         false; nothing handed over
//     throw        throws an int
// SCRIPTED_CLIENT_INIT         throw: qpx_client_init throws something of the client's own
// SCRIPTED_CLIENT_RECORD  a file to which each call appends one line (none when unset):
//     init
//     destroy ctx=given
//     create_counters ctx=given name=alpha
//     create_events ctx=given name=alpha
//     progress ctx=given remote_id=7 source=0
//     terminate ctx=given remote_id=7
//     run_command ctx=given flag=1 time_limit=30 output=given length=null command=ls -l
//   A pointer is "given" or "null"; a handle that is not the one of init is "foreign".
//
// script.h controls the provider functions.
//
// Three targets: scripted_client; scripted_client_incomplete, whose qpx_client_run_command has
// another name; scripted_client_unconnected, whose qpx_client_init returns null.
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "script.h"
#include "tallyra/qpx_client.h"

namespace {

char connection;

tly::test::ClientScript script;

// Its code is unmapped with this library, so nobody may hold on to one longer.
struct OwnError {
  virtual ~OwnError() = default;
};

std::string_view variable(const char* name, const char* fallback) {
  const char* const value = getenv(name);
  return value != nullptr ? value : fallback;
}

const char* handle_text(const void* ctx) {
  return ctx == &connection ? "given" : ctx == nullptr ? "null" : "foreign";
}

const char* address_text(const void* address) { return address != nullptr ? "given" : "null"; }

void record(std::string line) {
  const std::string path(variable("SCRIPTED_CLIENT_RECORD", ""));
  const int file = path.empty() ? -1 : open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  if (file < 0) {
    return;
  }
  line += '\n';
  if (write(file, line.data(), line.size()) < 0) {
    perror("scripted_client: record");
  }
  close(file);
}

std::optional<std::string> run_by_shell(const char* command) {
  FILE* const pipe = popen((std::string("exec 2>&1; ") + command).c_str(), "re");
  if (pipe == nullptr) {
    return std::nullopt;
  }
  std::string text;
  char piece[4096];
  for (size_t read = 0; (read = fread(piece, 1, sizeof piece, pipe)) > 0;) {
    text.append(piece, read);
  }
  return pclose(pipe) == 0 ? std::optional(text) : std::nullopt;
}

bool hand_over(const char* text, uint64_t size, char** output, uint64_t* length) {
  if (output != nullptr) {
    *output = text != nullptr ? strdup(text) : nullptr;
  }
  if (length != nullptr) {
    *length = size;
  }
  return true;
}

std::string remote_text(uint32_t remote_id) { return " remote_id=" + std::to_string(remote_id); }

}  // namespace

extern "C" {

TLY_API tly::test::ScriptedClientFollow scripted_client_follow;
void scripted_client_follow(const tly::test::ClientScript* followed) { script = *followed; }

TLY_API void* qpx_client_init() {
  record("init");
  if (variable("SCRIPTED_CLIENT_INIT", "") == "throw") {
    throw OwnError();
  }
#ifdef SCRIPTED_CLIENT_REFUSES_CONNECTION
  return nullptr;
#else
  return &connection;
#endif
}

TLY_API void qpx_client_destroy(void* ctx) {
  record(std::string("destroy ctx=") + handle_text(ctx));
}

TLY_API bool qpx_client_event_provider_create(void* ctx, const char* name,
                                              const tly_custom_options* options,
                                              qpx_event_provider_details_t* details) {
  record(std::string("create_events ctx=") + handle_text(ctx) + " name=" + name);
  return script.create_events != nullptr && script.create_events(ctx, name, options, details);
}

TLY_API bool qpx_client_counter_provider_create(void* ctx, const char* name,
                                                const tly_options_t* options,
                                                qpx_event_provider_details_t* details) {
  record(std::string("create_counters ctx=") + handle_text(ctx) + " name=" + name);
  return script.create_counters != nullptr && script.create_counters(ctx, name, options, details);
}

TLY_API bool qpx_client_event_provider_progress(void* ctx, uint32_t remote_id,
                                                uint16_t source_index, void** buffer,
                                                uint64_t* size) {
  record(std::string("progress ctx=") + handle_text(ctx) + remote_text(remote_id) +
         " source=" + std::to_string(source_index));
  return script.progress != nullptr && script.progress(ctx, remote_id, source_index, buffer, size);
}

TLY_API int32_t qpx_client_event_provider_terminate(void* ctx, uint32_t remote_id) {
  record(std::string("terminate ctx=") + handle_text(ctx) + remote_text(remote_id));
  return script.terminate != nullptr ? script.terminate(ctx, remote_id) : 0;
}

TLY_API bool qpx_client_run_command(void* ctx, const char* command, bool flag, uint32_t time_limit,
                                    char** output, uint64_t* length) {
  record(std::string("run_command ctx=") + handle_text(ctx) + " flag=" + (flag ? "1" : "0") +
         " time_limit=" + std::to_string(time_limit) + " output=" + address_text(output) +
         " length=" + address_text(length) + " command=" + command);
  const std::string_view mode = variable("SCRIPTED_CLIENT_RUN_COMMAND", "shell");
  if (mode == "empty") {
    return hand_over("", 0, output, length);
  }
  if (mode == "null-text") {
    return hand_over(nullptr, 64, output, length);
  }
  if (mode == "throw") {
    throw 1;
  }
  if (mode != "shell") {
    return false;
  }
  const std::optional<std::string> text = run_by_shell(command);
  return text && hand_over(text->c_str(), text->size(), output, length);
}

}  // extern "C"
