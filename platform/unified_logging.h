// The product's unified logging configuration library: debug and diagnostic levels of originators.
#pragma once

// The configuration of one originator of one product.
struct holkLogCfg;

// Masks of holkLogCfgRemoveSettings.
inline constexpr int holk_debug_level_setting = 32;
inline constexpr int holk_diagnostic_level_setting = 64;

// Loads the configuration of an originator into `*handle`, which the caller releases with holkLogFreeCfg. Returns 0.
// Returns a status and no handle when the product's store cannot be read, or when an entry of this originator is not a
// signed 32-bit number.
int holkLogReadCfg(long product, unsigned long originator, holkLogCfg** handle);

// Set `*level` to the originator's effective level: its own, else the product's default. Without either, do not change
// `*level`. Return 0.
int holkLogCfgGetDebugLevel(const holkLogCfg* handle, int* level);
int holkLogCfgGetDiagLevel(const holkLogCfg* handle, int* level);

// Set a level in the handle. Return 0, or EINVAL for a level that is not 0 to 6.
int holkLogCfgSetDebugLevel(holkLogCfg* handle, int level);
int holkLogCfgSetDiagLevel(holkLogCfg* handle, int level);

// Removes the originator's own entries that the mask names. The product's default then applies. Returns 0.
int holkLogCfgRemoveSettings(holkLogCfg* handle, int mask);

// Writes to the store only what was set or removed through the handle. Returns 0 or an error number.
int holkLogWriteCfg(long product, unsigned long originator, const holkLogCfg* handle);

// Releases the handle, which may be null.
void holkLogFreeCfg(holkLogCfg* handle);
