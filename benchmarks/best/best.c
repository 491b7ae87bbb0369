#define _GNU_SOURCE /* struct ucred, close_range */

#include "best.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

/* Room for a request of the longest words that are measured. */
enum { request_size = 8192 };

void require(int condition, int number) {
    if (!condition) {
        exit(number);
    }
}

int print(char* out, size_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(out, size, format, arguments);
    va_end(arguments);
    require(length >= 0 && (size_t)length < size, 2);
    return length;
}

static int take_over_socket(void) {
    const int peer = dup(0);
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    require(null >= 0 && peer >= 0 && dup2(null, 0) == 0 && dup2(null, 1) == 1 && dup2(null, 2) == 2, 3);
    close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
    return peer;
}

/* "localhost" counts in every line of the list. */
static int host_is_server(void) {
    const struct text configuration = read_file("/usr/kumel/zembrath/qr.conf");
    return memmem(configuration.bytes, configuration.length, "SERVER = localhost\n", 19) != NULL;
}

static int local_peer_is_root(int peer) {
    struct ucred credentials = {0, 1, 1};
    socklen_t size = sizeof credentials;
    log_line(information, "xnet_verify_peer_creds", "H=local P=0 U=root F=0x42 UT=2");
    return getsockopt(peer, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 && credentials.uid == 0;
}

/* The peer's kernel gives reserved ports only to root. */
static int network_peer_is_root(const struct sockaddr_in* name) {
    char address[INET_ADDRSTRLEN];
    const int port = ntohs(name->sin_port);
    inet_ntop(AF_INET, &name->sin_addr, address, sizeof address);
    log_line(information, "xnet_verify_peer_creds", "H=%s P=%d U=root F=0x42 UT=2", address, port);
    return name->sin_addr.s_addr == htonl(INADDR_LOOPBACK) && port < 1024;
}

static void verify_peer(int peer) {
    struct sockaddr_storage name;
    socklen_t size = sizeof name;
    require(getpeername(peer, (struct sockaddr*)&name, &size) == 0, 4);
    require(
        name.ss_family == AF_UNIX ? local_peer_is_root(peer) : network_peer_is_root((const struct sockaddr_in*)&name),
        5);
    log_line(information, "setup_comms_w_client", "verified credentials of peer");
}

/* Takes one netstring out of the text at *next and moves *next to what follows it. */
static char* take_string(char** next) {
    char* text = NULL;
    const unsigned long length = strtoul(*next, &text, 10);
    require(*text == ':' && length < text_size && text[1 + length] == ',', 6);
    *next = text + length + 2;
    text[length + 1] = '\0';
    return text + 1;
}

/* Looks at what has come, and then takes the request's own bytes with one read. */
static int read_request(int peer, char* request, char** words) {
    static char taken[request_size];
    const ssize_t length = recv(peer, request, request_size - 1, MSG_PEEK);
    require(length > 0, 6);
    request[length] = '\0';
    char* next = request;
    const int count = (int)strtol(take_string(&next), NULL, 10);
    require(count > 0 && count <= most_words, 6);
    for (int i = 0; i < count; ++i) {
        words[i] = take_string(&next);
        log_line(information, "receive_inputs_from_client", "string from peer C=%s", words[i]);
    }
    require(recv(peer, taken, (size_t)(next - request), 0) == next - request, 6);
    return count;
}

static void answer(int peer, char** words, int count) {
    if (strcmp(words[0], "GETDISKSPACE") == 0) {
        answer_disk_space(peer, words[1]);
    } else if (strcmp(words[0], "ENABLELOGGING") == 0) {
        answer_logging(peer, words, count);
    } else if (strcmp(words[0], "CLEANUP") == 0) {
        answer_clean_up(peer, words[1]);
    } else {
        require(strcmp(words[0], "RUNZMSU") == 0 && count == 3, 7);
        answer_listing(peer, words[2]);
    }
}

int main(void) {
    static const char status_line[] = "EXIT STATUS 0 the requested operation was successfully completed\n";
    static char request[request_size];
    char* words[most_words];
    umask(022);
    const int peer = take_over_socket();
    const int listed = host_is_server();
    open_log();
    signal(SIGPIPE, SIG_IGN);
    signal(SIGCHLD, SIG_DFL);
    require(listed, 5);
    verify_peer(peer);
    const int count = read_request(peer, request, words);
    log_line(information, "process_request", "processing request R=%s", words[0]);
    log_line(information, "is_cmd_valid", "command is valid C=%s", words[0]);
    answer(peer, words, count);
    log_line(information, "zmlogadmagent", "closing peer SOCK (%d) in QAS NSC=0", peer);
    send_text(peer, status_line, sizeof status_line - 1);
    return 0;
}
