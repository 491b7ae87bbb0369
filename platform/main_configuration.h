// The product's main configuration library: qr.conf.
#pragma once

struct ConfigSettings;

// A configuration record. A record filled with zeros is empty.
struct ConfigRecord {
    // Global verbosity: the value of VERBOSE.
    int VERBOSE;
    // The settings that ParseConfigExA found. The library owns them; FreeConfig releases them.
    ConfigSettings* settings;
};

// Selects the standard server configuration, qr.conf itself, in UpdateHostConfigExA.
extern const int QRConfZMStandardServer;

// Reads the main configuration of this host. Returns 0, or a status when the file cannot be read.
int ZM_read_master_config();

// Returns the record that ZM_read_master_config filled. It is valid until the process ends.
const ConfigRecord* get_master_config_ptr();

// Parses lines "KEY=value" (set) and "KEY" (remove) into a record of zeros. Returns 0. If it rejects any line, it
// returns a status and leaves the record empty. It rejects an empty line; a key that is not a letter followed by
// letters, digits or "_"; a value with a control character; a verbosity (VERBOSE, ..._VERBOSE) that is not a signed
// 32-bit number; and the key SERVER, because a logging request must not change which hosts are trusted.
// This implementation ignores `other` and `option`, and does not change `text`.
int ParseConfigExA(char* text, ConfigRecord* record, ConfigRecord* other, int option);

// Applies a parsed record to this host's qr.conf in one safe rewrite: the file always has its whole old or whole new
// text. Returns 0, or a status that getECmsg describes. The only valid `selector` is QRConfZMStandardServer. This
// implementation ignores `other` and the three options.
int UpdateHostConfigExA(int selector, ConfigRecord* record, ConfigRecord* other, int option1, int option2, int option3);

// Releases the settings in the record and empties it. Does nothing to an empty record.
void FreeConfig(ConfigRecord* record);
