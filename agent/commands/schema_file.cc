#include "commands/schema_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/descriptor.h"
#include "common/failure.h"

namespace tly::agent {
namespace {

constexpr int kMostNames = 100;

Failure file_failure(const char* what, const std::string& path, int reason, const char* advice) {
  return {ExitCode::kSchemaFile,
          std::string("cannot ") + what + " " + path + ": " + std::strerror(reason), advice};
}

Failure write_failure(const std::string& path, int reason) {
  return file_failure("write", path, reason,
                      "name a directory that exists, can be written and has room");
}

// A new file beside the path, so that it can be renamed to it. Stores its name.
Descriptor create_beside(const std::string& path, std::string& name) {
  const std::size_t base = path.rfind('/') + 1;  // 0 without a slash
  const std::string stem =
      path.substr(0, base) + "." + path.substr(base) + "." + std::to_string(getpid()) + ".";
  int number = -1;
  for (int i = 0; i < kMostNames && number < 0; ++i) {
    name = stem + std::to_string(i);
    number = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (number < 0 && errno != EEXIST) {
      break;
    }
  }
  return Descriptor(number);
}

}  // namespace

std::string schema_file_path(const std::string& directory, const std::string& id) {
  return directory + "/schema_" + id + ".json";
}

std::string read_schema_file(const std::string& path) {
  const auto failure = [&path](int reason) {
    return file_failure("read", path, reason, "name a schema file, such as --save writes");
  };
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.is_open()) {
    throw failure(errno);
  }
  std::string text;
  std::array<char, 65536> part;
  for (;;) {
    const ssize_t length = read(file.number(), part.data(), part.size());
    if (length > 0) {
      text.append(part.data(), static_cast<std::size_t>(length));
    } else if (length == 0) {
      return text;
    } else if (errno != EINTR) {
      throw failure(errno);
    }
  }
}

void write_schema_file(const std::string& path, std::string_view text) {
  std::string new_path;
  Descriptor file = create_beside(path, new_path);
  if (!file.is_open()) {
    throw write_failure(path, errno);
  }
  // What is renamed must have reached the disk: a crash may otherwise leave an empty file.
  const bool is_written = write_all(file.number(), text) && fsync(file.number()) == 0 &&
                          file.close() && std::rename(new_path.c_str(), path.c_str()) == 0;
  if (!is_written) {
    const int reason = errno;
    unlink(new_path.c_str());
    throw write_failure(path, reason);
  }
}

}  // namespace tly::agent
