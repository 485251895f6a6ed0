#include "tallyra/client_id.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "environment.h"

namespace {

using tly::test::ScopedEnv;

std::string system_name;

}  // namespace

// Stands before the system's own for this program. As on Linux, the name must fit with its NUL.
extern "C" int gethostname(char* name, size_t len) noexcept {
  if (system_name.size() >= len) {
    errno = ENAMETOOLONG;
    return -1;
  }
  memcpy(name, system_name.c_str(), system_name.size() + 1);
  return 0;
}

namespace {

TEST(HostName, ComesFromTheVariableWholeOrFromTheSystemCutAtItsFirstDot) {
  const struct {
    const char* variable;
    std::string system;
    std::string expected;
  } cases[] = {
      {"a.b.c", "host", std::string("a.b.c\0\0#", 8)},
      {"", "host", std::string("\0\0\0\0\0\0\0#", 8)},
      {"longer.name", "host", "longer.#"},
      {nullptr, "host", std::string("host\0##", 7)},
      {nullptr, "a.b.c", std::string("a\0b.c\0#", 7)},
  };
  for (const auto& c : cases) {
    const ScopedEnv variable("TLY_HOST_NAME", c.variable);
    system_name = c.system;
    char buffer[] = "########";
    EXPECT_EQ(tly_get_hostname(buffer, 8), buffer);
    EXPECT_EQ(std::string(buffer, c.expected.size()), c.expected);
  }
  EXPECT_EQ(tly_get_hostname(nullptr, 0), nullptr);
}

TEST(ClientId, CarriesTheHostNameAndIsCopiedWhole) {
  const ScopedEnv variable("TLY_HOST_NAME", std::string(80, 'n').c_str());
  const std::unique_ptr<tly_client_id_t, decltype(&free)> client_id(tly_client_id_allocate(), free);
  ASSERT_NE(client_id, nullptr);
  EXPECT_EQ(client_id->host_name, std::string(63, 'n'));
  EXPECT_EQ(client_id->port, 0);
  client_id->port = 0xBEEF;
  tly_client_id_t copy;
  tly_client_id_copy(&copy, client_id.get());
  EXPECT_EQ(memcmp(&copy, client_id.get(), sizeof copy), 0);

  const ScopedEnv no_variable("TLY_HOST_NAME", nullptr);
  system_name = std::string(63, 'n');
  EXPECT_EQ(tly_client_id_allocate(), nullptr);
}

TEST(ClientId, PrintsItsLayoutOnly) {
  testing::internal::CaptureStdout();
  const tly_client_id_t client_id = {"host", 1};
  tly_client_id_print(&client_id);
  tly_client_id_print_struct_layout();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Client identifier tly_client_id_t\n"
            "\n"
            "Field                 Offset    Size\n"
            " host_name                  0         64\n"
            " port                       64        2\n");
}

}  // namespace
