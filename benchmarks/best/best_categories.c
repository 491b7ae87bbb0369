#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "best.h"

/* The answers of all categories, which are sent when the last one is done. */
struct answers {
    char lines[most_words][256];
    int count;
};

static const char plugins[] = "/usr/kumel/lib/stg-plugins/";

/* The beginnings of the lines for the two levels of an originator. */
static const char debug_level[] = "111.DebugLevel=";
static const char diagnostic_level[] = "111.DiagnosticLevel=";

static int level_after(struct text text, const char* prefix) {
    for (const char* line = text.bytes; line < text.bytes + text.length;) {
        if (strncmp(line, prefix, strlen(prefix)) == 0) {
            return atoi(line + strlen(prefix));
        }
        line = memchr(line, '\n', (size_t)(text.bytes + text.length - line));
        require(line != NULL, 40);
        ++line;
    }
    require(0, 41);
    return 0;
}

static void respond(struct answers* answers, const char* tag, const char* argument, const char* message) {
    char* const line = answers->lines[answers->count++];
    const int name = (int)strcspn(argument, "=");
    print(line, sizeof answers->lines[0], "PROCESS=%.*s STATUS=0 MSG=%s\n", name, argument, message);
    log_line(information, tag, "%s", line);
}

/* Raises originator 111 of the product to level 6. */
static void set_levels(struct answers* answers, const char* argument, const char* product) {
    static const char tag[] = "process_ktul_loglevel";
    static const struct edit edits[] = {{debug_level, "6"}, {diagnostic_level, "6"}};
    char name[64];
    char path[128];
    char message[128];
    print(name, sizeof name, "%s.conf", product);
    print(path, sizeof path, "/usr/kumel/ktul/%s", name);
    const struct text store = read_file(path);
    const int debug = level_after(store, debug_level);
    const int diagnostic = level_after(store, diagnostic_level);
    if (strcmp(product, "51216") == 0) {
        log_line(detail, tag, "Default DbgLvl=%d DiagLvl=%d", level_after(store, "112.DebugLevel="),
                 level_after(store, "112.DiagnosticLevel="));
    }
    log_line(detail, tag, "Current setting P=%s O=111 DbgLvl=%d", product, debug);
    log_line(detail, tag, "Current setting P=%s O=111 DiagLvl=%d", product, diagnostic);
    rewrite_safely("/usr/kumel/ktul", name, edits, 2);
    print(message, sizeof message, "DEBUG:111=%d,111=6 DIAG:111=%d,111=6", debug, diagnostic);
    respond(answers, tag, argument, message);
}

static void make_log_folder(struct answers* answers, const char* argument) {
    char path[128];
    char message[256];
    print(path, sizeof path, "/usr/kumel/zembrath/logs/%s", strchr(argument, ':') + 1);
    require(mkdir(path, 0755) == 0, 42);
    print(message, sizeof message, "Set up log directory DIR=%s Perm=755", path);
    respond(answers, "process_zmulogdir", argument, message);
}

static void make_volume_manager_folder(struct answers* answers, const char* argument) {
    char path[128];
    char message[256];
    print(path, sizeof path, "/usr/kumel/volmgr/debug/%s", strchr(argument, ':') + 1);
    log_line(information, "process_mmlogdir", "Action=enable, DIR=%s", path);
    require(mkdir(path, 0755) == 0, 43);
    print(message, sizeof message, "Set up log directory DIR=%s", path);
    respond(answers, "process_mmlogdir", argument, message);
}

static void set_main_configuration(struct answers* answers, const char* argument) {
    const struct edit edit = {"TAPEMGR_VERBOSE = ", strchr(argument, '=') + 1};
    log_line(detail, "process_qrconf", "current global VERBOSE=0");
    rewrite_safely("/usr/kumel/zembrath", "qr.conf", &edit, 1);
    respond(answers, "process_qrconf", argument, "Set up");
}

static void set_deduplication(struct answers* answers, const char* argument) {
    static const char marker[] = "kpa.cfg=";
    char path[128];
    const struct text registry = read_file("/etc/rkregistry.cfg");
    registry.bytes[registry.length - 1] = '\0';
    const char* const entry = strstr(registry.bytes, marker);
    require(entry != NULL, 44);
    print(path, sizeof path, "%s", entry + sizeof marker - 1);
    log_line(detail, "get_rk_conf_filepath", "Morvisk configuration file path=%s RV=0 ERR=", path);
    set_parameter(path, "Logging=", "full,thread");
    respond(answers, "process_rk", argument, "Set debug logging 'full'");
}

static void set_deduplication_plugin(struct answers* answers, const char* argument) {
    char path[128];
    print(path, sizeof path, "%srk.conf", plugins);
    set_parameter(path, "LOGLEVEL = ", "10");
    set_parameter(path, "DEBUGLOG = ", "/");
    respond(answers, "process_rkplugin", argument, "Set up rkplugin debug logging");
}

static void set_entry(struct answers* answers, const char* argument, const char* folder, const char* file,
                      const char* match) {
    char path[128];
    char message[128];
    const char* const element = strchr(argument, ':') + 1;
    const char* const equals = strchr(element, '=');
    print(path, sizeof path, "%s%s", folder, file);
    set_parameter(path, match, equals == NULL ? "\"6\"" : equals + 1);
    print(message, sizeof message, "Set up %.*s debug logging", (int)strcspn(element, "="), element);
    respond(answers, "process_config_file_entry", argument, message);
}

static void set_console(struct answers* answers, const char* argument) {
    static const char path[] = "/usr/kumel/java/Debug.properties";
    set_parameter(path, "printcmds=", "true");
    set_parameter(path, "debugMask=", "0x00040000");
    respond(answers, "process_javagui", argument, "Set up Debug.properties");
}

static void set_volume_manager(struct answers* answers, const char* argument) {
    set_parameter("/usr/kumel/volmgr/vm.conf", "VERBOSE", "");
    respond(answers, "process_vmconf", argument, "Set debug logging");
}

/* Through the shell, as the agent does, because other processes can see the command line. */
static void run_connection_broker_tool(struct answers* answers, const char* argument) {
    static const char tag[] = "process_kob";
    char command[128];
    const char* const level = strchr(argument, '=') + 1;
    print(command, sizeof command, "/opt/HOLKkob/bin/ktlogcfg -a -p 50936 -o 103 -s DebugLevel=%s", level);
    log_line(information, tag, "For C=KOB CA=%s executing cmd=%s", level, command);
    require(system(command) == 0, 45);
    char* const line = answers->lines[answers->count++];
    print(line, sizeof answers->lines[0], "PROCESS=KOB:kob STATUS=0 MSG=Success\n");
    log_line(information, tag, "Sending to caller: %s", line);
    log_line(information, tag, "Completed w/ 0");
}

static void enable(struct answers* answers, const char* argument) {
    const size_t length = strcspn(argument, ":");
    const char* const element = argument + length + 1;
    const int is_product = strncmp(argument + length - 4, "KTUL", 4) == 0;
    require(argument[length] == ':' && answers->count < most_words, 46);
    if (is_product) {
        set_levels(answers, argument, argument[0] == 'Z' ? "51216" : argument[0] == 'Q' ? "58330" : "60385");
    } else if (strncmp(argument, "ZMLOGDIR:", 9) == 0) {
        make_log_folder(answers, argument);
    } else if (strncmp(argument, "MMLOGDIR:", 9) == 0) {
        make_volume_manager_folder(answers, argument);
    } else if (strncmp(argument, "QRCONF:", 7) == 0) {
        set_main_configuration(answers, argument);
    } else if (strncmp(argument, "RK:", 3) == 0) {
        set_deduplication(answers, argument);
    } else if (strncmp(argument, "RKPLUGIN:", 9) == 0) {
        set_deduplication_plugin(answers, argument);
    } else if (strncmp(element, "zmwqf", 5) == 0) {
        set_entry(answers, argument, plugins, "wqf.conf", "WQF:LOGLEVEL=");
    } else if (strncmp(element, "skyhold", 7) == 0) {
        set_entry(answers, argument, plugins, "skyhold.conf", "SHCT_LOG_LEVEL=");
    } else if (strncmp(argument, "JAVAGUI:", 8) == 0) {
        set_console(answers, argument);
    } else if (strncmp(argument, "HOLKAZ:", 7) == 0) {
        set_entry(answers, argument, "/usr/kumel/zembrath/sec/az/bin/", "HOLKaz.conf", "\"DebugLevel\"=");
    } else if (strncmp(argument, "VMCONF:", 7) == 0) {
        set_volume_manager(answers, argument);
    } else {
        require(strncmp(argument, "KOB:", 4) == 0, 47);
        run_connection_broker_tool(answers, argument);
    }
}

void answer_logging(int peer, char** words, int count) {
    static struct answers answers;
    log_line(information, "handle_logging", "enable logging C=%s", words[0]);
    for (int i = 1; i < count; ++i) {
        enable(&answers, words[i]);
    }
    for (int i = 0; i < answers.count; ++i) {
        const char* const line = answers.lines[i];
        const size_t length = strlen(line);
        log_line(information, "handle_logging", "Responding (len=%d) %s", (int)length, line);
        send_text(peer, line, length);
    }
}
