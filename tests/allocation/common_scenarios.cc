// Strings, settings, the dictionary, name matching, identities, the logger.
#include <cstdarg>
#include <cstring>
#include <map>
#include <string>

#include "environment.h"
#include "scenario.h"
#include "string_arrays.h"
#include "tallyra/client_id.h"
#include "tallyra/dictionary.h"
#include "tallyra/logging.h"
#include "tallyra/name_matching.h"
#include "tallyra/schema_id.h"
#include "tallyra/settings.h"
#include "tallyra/string_utils.h"

namespace tly::test {
namespace {

SCENARIO(StringArrays) {
  static const TemporaryDirectory directory;
  static const std::string path = directory.write("list", "x\n# note\ny");
  pass.make<&tly_free_string_array>([] { return tly_init_string_array(); });
  pass.make<&tly_free_string_array>(
      [] { return tly_string_array_from_comma_separated_string("a,b,c", 5); });

  Array array("a,b,b");
  Texts held{"a", "b", "b"};
  if (pass.whole([&] { return tly_append_string_array(&array.block, "c"); })) {
    held.emplace_back("c");
  }
  EXPECT_EQ(array.texts(), held);
  pass.whole([&] { return tly_string_array_remove_duplicates(&array.block, true); });
  held.erase(held.begin() + 2);
  EXPECT_EQ(array.texts(), held);
  // The stream may do without its buffer.
  pass.may([&] { return tly_string_array_append_file_lines(&array.block, path.c_str(), nullptr); });
  for (const char* const line : {"x", "y"}) {
    if (held.size() < array.block->count) {
      held.emplace_back(line);
    }
  }
  EXPECT_EQ(array.texts(), held) << "the lines before the one that failed";
  if (pass.whole([&] { return tly_string_array_join(&array.block, array.block); })) {
    const Texts once = held;
    held.insert(held.end(), once.begin(), once.end());
  } else if (array.block == nullptr) {
    held.clear();  // released by a failed copy
  }
  EXPECT_EQ(array.texts(), held);
}

TLY_PRINTF(1, 2) char* expand(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* const text = tly_vexpand_string_template(format, arguments);
  va_end(arguments);
  return text;
}

SCENARIO(Strings) {
  for (char* (*const build)() :
       {+[] { return string_concat("a", "b"); },
        +[] { return string_concat_comma_separated_token("a", "b"); },
        +[] { return get_allocated_basename("/a"); },
        +[] { return tly_expand_string_template("%s", "abc"); }, +[] { return expand("%d", 7); }}) {
    pass.make<&std::free>(build);
  }
  int32_t number = 77;
  const bool is_read = pass.whole([&] { return bounded_string_to_int("123", 2, &number); });
  EXPECT_EQ(number, is_read ? 12 : 77);
  constexpr tly_schema_id_t kId{};
  pass.make<&std::free>([&] { return tly_schema_id_string(&kId); });
  pass.make<&std::free>([] { return tly_client_id_allocate(); });
}

SCENARIO(Settings) {
  static const std::string name(200, 'N');
  static const ScopedEnv variable("TLY_" + name, "yes");
  pass.whole([] { return tly_getenv(name.c_str()); });
  pass.whole([] { return tly_getenv_bool(name.c_str(), false); });
}

using Dict = Owned<tly_dict_t, &tly_dict_delete>;
using Entries = std::map<std::string, std::string>;

Entries entries_of(const Dict& dict) {
  Entries entries;
  const auto collect = [](const char* key, const char* value, void* user) {
    return static_cast<Entries*>(user)->emplace(key, value).second;
  };
  EXPECT_TRUE(tly_dict_enum(dict.get(), collect, &entries));
  return entries;
}

SCENARIO(Dictionaries) {
  const Dict dict(pass.whole([] { return tly_dict_create(); }));
  Entries held;
  // The fourth and the seventh key make it grow.
  for (const char* const key : {"a", "b", "c", "d", "a", "e", "f", "g"}) {
    const auto added = [&] { return tly_dict_add(dict.get(), key, held.empty() ? "" : "new"); };
    if (dict && pass.whole(added)) {
      held[key] = held.empty() ? "" : "new";
    }
    EXPECT_EQ(entries_of(dict), held);
  }
  if (dict) {
    const auto copy = pass.make<&tly_dict_delete>([&] { return tly_dict_dup(dict.get()); });
    EXPECT_EQ(entries_of(copy), copy ? held : Entries());
  }
}

SCENARIO(NameMatching) {
  const Array names("b.x,a.b");
  const Array patterns("a,b");
  const Array mandatory("a.b,m");
  const Array dotted("p.c");
  tly_options_t options{};
  options.enable_patterns = patterns.block;
  pass.whole([&] { return tly_match_patterns("a.b", patterns.block, TLY_NAME_MATCHING_WILDCARD); });
  pass.whole([&] { return tly_plugin_is_enabled("b.x", patterns.block, nullptr); });
  // A pattern that cannot be extended is still looked for in the name.
  pass.may([&] { return tly_plugin_file_is_enabled("b.x", patterns.block, nullptr); });
  pass.whole([&] { return tly_comp_is_enabled("a.b", &options); });
  pass.whole([&] { return tly_plugin_file_component_is_enabled("libp.so", dotted.block); });
  for (const tly_string_array_t* forced : {dotted.block, mandatory.block}) {
    pass.make<&tly_free_string_array>([&] {
      return tly_match_counter_names(names.block, names.block, nullptr, forced,
                                     TLY_NAME_MATCHING_EXACT);
    });
  }
}

SCENARIO(Logger) {
  static const TemporaryDirectory directory;
  static const std::string path = directory.path() / "log";
  pass.make<&tly_destroy_logger_ctx>([] { return tly_get_logger_ctx(); });
  const bool is_open = pass.whole([] { return tly_init_file_logger(path.c_str(), 3); });
  EXPECT_EQ(tly_set_log_level(3), 3U) << "also of the standard error in its place";
  if (is_open) {
    pass.call([] { return _tly_log(3, "%s", "line"), true; });
    const Owned<FILE, &std::fclose> stream(std::fopen("/dev/null", "w"));
    pass.call([&] { return tly_dump_timestamp_logger(stream.get()), true; });
  }
  tly_close_logger();
  pass.call([] { return __tly_init_logger_default(), true; });
  for (const bool is_syslog : {true, false}) {
    pass.may([=] {
      return is_syslog ? tly_init_syslog_logger("tallyra", 0) : tly_init_stderr_logger(0);
    });
  }
}

}  // namespace
}  // namespace tly::test
