// The longer texts of --help.
#pragma once

namespace tly::agent {

extern const char* const kDescription;

// Below the options of all commands, in this order.
extern const char* const kSelectionHelp;
extern const char* const kRemoteHelp;
extern const char* const kExamples;
extern const char* const kEnvironment;
extern const char* const kExitStatus;

// Below the options of one command.
extern const char* const kListNotes;
extern const char* const kReadNotes;
extern const char* const kWatchNotes;
extern const char* const kSchemaNotes;
extern const char* const kEventsNotes;
extern const char* const kServeNotes;

}  // namespace tly::agent
