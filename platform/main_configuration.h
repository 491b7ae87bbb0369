// The product's main configuration library: qr.conf.
#pragma once

struct ConfigSettings;

// A configuration record. A record filled with zeros is an empty one.
struct ConfigRecord {
    // Global verbosity: the value of VERBOSE.
    int VERBOSE;
    // What ParseConfigExA found; owned by the library, released by FreeConfig.
    ConfigSettings* settings;
};

// Selects the standard server configuration, qr.conf itself, in UpdateHostConfigExA.
extern const int QRConfZMStandardServer;

// Reads the main configuration of this host. Returns 0, or a status when the file cannot be read.
int ZM_read_master_config();

// Returns the record that ZM_read_master_config filled; it stands until the process ends.
const ConfigRecord* get_master_config_ptr();

// Parses lines "KEY=value" (set) and "KEY" (remove) into a record of zeros. Returns 0, or a status when any
// line is refused, and then the record stays empty: a line that is empty, a key that is not a letter with
// letters, digits and "_" behind it, a value with a control character, a verbosity (VERBOSE, ..._VERBOSE)
// that is not a signed 32-bit number, or the key SERVER, for a logging request never changes who is trusted.
// `other` and `option` are not used by this implementation; `text` is not changed.
int ParseConfigExA(char* text, ConfigRecord* record, ConfigRecord* other, int option);

// Applies a parsed record to this host's qr.conf, as one safe rewrite (old or new, never in between). Returns
// 0, or a status that getECmsg describes. Only `selector` QRConfZMStandardServer is known; `other` and the three
// options are not used by this implementation.
int UpdateHostConfigExA(int selector, ConfigRecord* record, ConfigRecord* other, int option1, int option2, int option3);

// Releases what a parse put into the record and empties it. Harmless on an empty record.
void FreeConfig(ConfigRecord* record);
