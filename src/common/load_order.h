// The order in which the library's load-time initialisers run.
//
// The loader runs initialisers by ascending priority, whatever order the objects were linked in,
// and their destructors in the reverse order. Everything else in the library, the logger above all,
// must be constant-initialised: these initialisers already log.
#pragma once

#define TLY_LOAD_PRIORITY_SETTINGS_MAP 201
#define TLY_LOAD_PRIORITY_MEDIATOR 202
// Destroyed first: ends a provider that the host forgot to finalize.
#define TLY_LOAD_PRIORITY_PROVIDER_GUARD 203
