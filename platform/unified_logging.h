// The product's unified logging configuration library: debug and diagnostic levels of originators.
#pragma once

// The configuration of one originator of one product.
struct holkLogCfg;

// Masks of holkLogCfgRemoveSettings.
inline constexpr int holk_debug_level_setting = 32;
inline constexpr int holk_diagnostic_level_setting = 64;

// Loads the configuration of an originator and stores a handle, which the caller releases with holkLogFreeCfg.
// Returns 0, or a status (and no handle) when the product's store cannot be read or an entry of this
// originator is not a signed 32-bit number.
int holkLogReadCfg(long product, unsigned long originator, holkLogCfg** handle);

// Store the originator's effective level (its own, else the product's default), or leave `*level` untouched
// when there is none. Return 0.
int holkLogCfgGetDebugLevel(const holkLogCfg* handle, int* level);
int holkLogCfgGetDiagLevel(const holkLogCfg* handle, int* level);

// Set a level in the handle. Return 0, or EINVAL for a level outside 0 to 6.
int holkLogCfgSetDebugLevel(holkLogCfg* handle, int level);
int holkLogCfgSetDiagLevel(holkLogCfg* handle, int level);

// Removes the originator's own entries that the mask names, so that the product's default applies. Returns 0.
int holkLogCfgRemoveSettings(holkLogCfg* handle, int mask);

// Applies what was set or removed through the handle to the store, and nothing else. Returns 0 or an error
// number.
int holkLogWriteCfg(long product, unsigned long originator, const holkLogCfg* handle);

// Releases the handle; null is allowed.
void holkLogFreeCfg(holkLogCfg* handle);
