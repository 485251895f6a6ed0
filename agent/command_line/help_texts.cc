#include "command_line/help_texts.h"

namespace tly::agent {

const char* const kDescription =
    "Shows the performance counters of this machine, and what remote providers offer, through the\n"
    "Tallyra plug-in library.";

const char* const kSelectionHelp = R"(Selecting
  Components are named provider.component (vintor.pmc_res), counters
  component:instance:counter (pmc_res:cpu0:user_ms). Patterns are the shell's wildcards, in any
  case; quote them. As soon as there is an --enable or --disable pattern, a component is offered
  when an enable pattern matches it and no disable pattern does; with --disable alone all others
  are enabled. What both match is disabled, with a warning in the log.)";

const char* const kRemoteHelp = R"(Remote providers
  --enable grpc.NAME, letter by letter, adds the provider that the remote-executor client knows as
  NAME, of counters or of events; it does not restrict the local provider, vintor, which
  --disable vintor leaves out. Their components are named grpc.NAME.component, to be disabled
  likewise, and their counters grpc.NAME:component:counter (grpc.host:cpu:user_ms). A remote
  provider's counters are always collected together; --counter chooses which of them are shown.
  What cannot be started is reported and left out, and the exit status is then 8.)";

const char* const kExamples = R"(Examples
  tallyra-agent list                                   what there is
  tallyra-agent read                                   all counters, once
  tallyra-agent read -n 60 -i 1s -f csv > minute.csv   a minute of samples
  tallyra-agent read -f json -c 'pmc_res:cpu0:*'       one JSON object per sample
  tallyra-agent watch -c '*:user_ms' -c '*:rx_bytes*'       a table that follows the counters
  tallyra-agent --disable vintor.pmc_res_bw list       without one component
  tallyra-agent --enable grpc.host read                remote counters beside the local ones
  tallyra-agent --enable grpc.process events           a line per event, until Ctrl-C
  tallyra-agent --enable grpc.host serve               all of them for Prometheus
  tallyra-agent schema --save /var/lib/schemas         keep how the values are laid out)";

const char* const kEnvironment = R"(Environment
  TALLYRA_LIBRARY        the library, unless --library names one. Without either, the agent takes
                         libvintor_provider.so from its own directory, from the library directory
                         installed with it, or from where the dynamic loader finds it.
  QPX_CLIENT_SO          the remote-executor client, unless --client names one. Without either,
                         the library takes libqpx_client.so from where the dynamic loader finds it
                         or from the directory lib in TLY_ROOT.
  TLY_DOCKER_ENV         1 when the agent runs in a container: the library's tool is then run by
                         the remote-executor client
  TLY_VINTOR_SAMPLE_INTERVAL_NSEC
                         how often the library samples. When it is not set, that is once per
                         --interval and at least every second.
  TLY_API_LOG_LEVEL      the log level while the library is being loaded, before --log-level
                         takes effect)";

const char* const kExitStatus = R"(Exit status
  0    success; also when a signal ended watch or serve, or a read or events without an end
  1    failure without a status of its own, such as output that cannot be written
  2    wrong command line
  3    the library or the client cannot be loaded, or lacks a function
  4    there is no provider: the library's tool is missing, what it prints is unusable, or no
       remote provider can be started
  5    no component is enabled, or a counter pattern matches nothing
  6    the tool or a remote provider did not answer, or no sample arrived, within --timeout
  7    a schema file cannot be read or written, or does not hold what is asked for
  8    some of what is enabled was left out, as reported; the rest is done
  9    the address of serve cannot be listened on: its port is in use or for root alone, or it is
       no address of this machine
  130  interrupted before the last sample (143: terminated, 129: hung up, 131: quit);
       141 when the output is a pipe that nobody reads any more)";

const char* const kListNotes =
    R"(With remote providers, --json prints an array of documents, one per provider.

The options of all commands are shown by 'tallyra-agent --help'.)";

const char* const kReadNotes = R"(Formats
  table  one table per sample
  json   one object per line: "timestamp" (UTC), "provider" (of several, the names separated by
         commas), and "values" by component and counter
  csv    a line of headings, then one line per sample
  Numbers are written in full: integers digit by digit, doubles so that they read back the same.
  An integer counter without a value is '-' in a table, null in JSON, empty in CSV, as is every
  counter of a provider from which no sample arrived; the library gives 0 for any other counter
  without one.

When the library's tool or a remote provider fails, its last good sample is shown further on, and
only the library's log shows that. The options of all commands are shown by
'tallyra-agent --help'.)";

const char* const kWatchNotes =
    R"(The table shows each counter's value, the change per second of running sums, and the trend of that
change (of the value for the others) between its lowest and its highest. Ctrl-C or q ends it. When
standard output is no terminal, plain tables are printed one after another.

When the library's tool fails, the library goes on giving the last good sample; the top line then
shows for how long the local values have been the same. The options of all commands are shown by
'tallyra-agent --help'.)";

const char* const kSchemaNotes =
    R"(The counters schema lists the selected counters with their types and with the places of their
values; of a selected remote provider, all counters, under its own names. It is printed as the
library serializes it, so that its MD5 is its id:
  tallyra-agent schema | md5sum
Only on a terminal a newline follows. A type system holds a counters schema and event schemas; its
--id are several lines, each an id and what it names: the type system, the counters schema, and
every event schema. A loaded schema is printed as what it is.

  tallyra-agent schema --id                            the id alone
  tallyra-agent schema --save /tmp                     prints /tmp/schema_<id>.json
  tallyra-agent schema --load /tmp/schema_<id>.json    what was saved, without any tool

The options of all commands are shown by 'tallyra-agent --help'.)";

const char* const kEventsNotes =
    R"(At the end of each interval, and of the duration, the events that happened meanwhile are printed,
one JSON object per line: "timestamp" (UTC, of their delivery), "provider", "source", "type", and
"event", the fields by name in the order of the type. A field that JSON cannot hold is null. It goes
on until one of --count, --duration, Ctrl-C.

--raw writes the events records instead, of all providers in one file: 16 bytes of header, then the
events. Their types are kept beside them, as 'tallyra-agent schema --load FILE.types.json' shows.

  tallyra-agent --enable grpc.process events -n 1 -i 10s   the events of the next 10 seconds
  tallyra-agent --enable grpc.process events --raw log     keep the records, until Ctrl-C

The local provider has no part in it. The options of all commands are shown by
'tallyra-agent --help'.)";

const char* const kServeNotes =
    R"(Prints the URL, http://127.0.0.1:9877/metrics, and answers a Prometheus server there until a signal
ends it. Every scrape reads all selected counters once; nothing is kept for the next one. There is
no access control: an address other than the loopback's shows the values to whoever reaches it.

Metrics
  pmc_res:cpu0:user_ms becomes
    tallyra_user_seconds_total{provider="vintor",component="pmc_res",instance="cpu0"}
  The name is the last part of the counter's, in lower case, with _ for all that is no letter or
  digit. Running sums are counters and end in _total; all others are gauges, and where their names
  end in total, count, sum or bucket, _value follows. Times (s, ms, us, ns) are given in seconds,
  KiB, MiB and GiB in bytes, Hz, kHz, MHz and GHz in hertz; names that end in _per_s end in
  _per_second, and other units stay. Counters that would be the same series have one more label,
  counter, with the whole name. Counters without a value and texts are left out. Values are doubles:
  integers from 2^53 on lose digits.
  Prometheus calls the label instance exported_instance, as it has one of its own that names the
  machine; with honor_labels: true in its configuration the series of several machines would mix.

The agent's own
  tallyra_agent_provider_up{provider}           1 when the provider gave the values of this scrape
  tallyra_agent_values_changed_timestamp_seconds{provider}
                                                when a scrape last found new values of it
  tallyra_agent_samples_total                   scrapes for which every provider was read
  tallyra_agent_samples_dropped_total           scrapes for which some provider was not
  tallyra_agent_last_whole_sample_timestamp_seconds, tallyra_agent_last_read_duration_seconds
  tallyra_agent_log_messages_total{level}       what the library logged: errors and warnings, also
                                                those that --log-level hides, and what it adds
  tallyra_agent_build_info{version,library_version}
  exposer_scrapes_total, exposer_transferred_bytes_total, exposer_request_latencies
                                                of the HTTP server; the last in microseconds

When the library's tool fails, the library goes on giving the last good sample: its errors are
counted, and its values no longer change. A scrape waits 5 seconds for the providers, or --timeout
when that is shorter, and does without those that have not answered then; a remote provider that
hangs keeps the other remote ones waiting, but not the local one. The options of all commands are
shown by 'tallyra-agent --help'.)";

}  // namespace tly::agent
