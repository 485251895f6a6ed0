// Short forms of the log call for the library's own code.
#pragma once

#include "tallyra/logging.h"

#define TLY_LOG_ERROR(...) TLY_LOG(TLY_LOG_LEVEL_ERROR, __VA_ARGS__)
#define TLY_LOG_WARNING(...) TLY_LOG(TLY_LOG_LEVEL_WARNING, __VA_ARGS__)
#define TLY_LOG_INFO(...) TLY_LOG(TLY_LOG_LEVEL_INFO, __VA_ARGS__)
#define TLY_LOG_DEBUG(...) TLY_LOG(TLY_LOG_LEVEL_DEBUG, __VA_ARGS__)
