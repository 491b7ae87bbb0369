// Framed reads that fail.
#include <netinet/in.h>
#include <sys/socket.h>

#include <string>

#include "platform/network.h"
#include "tests/platform/framed_value.h"
#include "tests/support/failing_calls.h"

using failing_calls::failures;
using system_calls::overrides;

namespace {

class RejectedNumber : public FramingTest {};
class RejectedString : public FramingTest {};

using namespace std::string_literals;

// Texts that are not netstrings. They are rejected without waiting for more.
const std::string no_netstrings[] = {
    ":",
    ":5,",  // no length
    ",",
    "GET / HTTP/1.1\r\n",
    "\r\n",
    "\n",
    " 1:5,",
    "+1:5,",
    "-1:5,",
    "x",
    "\0"s,
    "\x80",
    "1x",
    "1 :5,",
    "1,5,",
    "1;",
    "1\0:5,"s,  // a length followed by something else
    "00",
    "00:,",
    "01:5,",
    "0001:5,",
    "00000000001:5,",  // a leading zero
    "12345678901",
    "00000000000",
    "99999999999:",  // more than ten digits
    "1:5;",
    "1:5x",
    "1:5\n",
    "1:5\0"s,
    "1:55,",
    "0:x",  // no comma at the end
};

const std::string no_numbers[] = {
    "",
    "-",
    "+5",
    " 5",
    "5 ",
    "5\n",
    "--5",
    "-+5",
    "5-",
    "1-2",
    "1.0",
    "1e3",
    "0x10",
    "a",
    "5a",
    "\0"s,
    "5\0"s,
    "\0"s
    "5",
    "1,2",
    "٣",
    "- 5",
    "-\0"s
    "5",
    "99999999999999999999x",
    "-99999999999999999999-",
};

const std::string numbers_out_of_range[] = {
    "9223372036854775808",     "-9223372036854775809", "18446744073709551615",
    "18446744073709551617",    "99999999999999999999", "-99999999999999999999",
    "00009223372036854775808", repeated('9', 2047),    "-" + repeated('9', 2046),
};

}  // namespace

TEST_F(RejectedNumber, IsEprotoWithoutANetstring) {
    for (const std::string& text : no_netstrings) {
        connect_and_send(text);
        EXPECT_EQ(read_number(socket()), number_refused(EPROTO)) << testing::PrintToString(text);
    }
}

TEST_F(RejectedString, IsEprotoWithoutANetstring) {
    for (const std::string& text : no_netstrings) {
        connect_and_send(text);
        EXPECT_EQ(read_string(socket()), string_refused(EPROTO)) << testing::PrintToString(text);
    }
}

TEST_F(RejectedNumber, IsEprotoWhenTheTextIsNotANumber) {
    for (const std::string& text : no_numbers) {
        connect_and_send(framed(text) + "rest");
        EXPECT_EQ(read_number(socket()), number_refused(EPROTO)) << testing::PrintToString(text);
        EXPECT_EQ(unread(), "rest") << testing::PrintToString(text);
    }
}

TEST_F(RejectedNumber, IsErangeBeyond64Bits) {
    for (const std::string& text : numbers_out_of_range) {
        connect_and_send(framed(text) + "rest");
        EXPECT_EQ(read_number(socket()), number_refused(ERANGE)) << text;
        EXPECT_EQ(unread(), "rest") << text;
    }
}

TEST_F(RejectedNumber, IsEprotoBeyond64BitsWithoutTheComma) {
    send("20:99999999999999999999;");
    EXPECT_EQ(read_number(socket()), number_refused(EPROTO));
}

// Only the length arrives, so the rejection does not wait for more.
TEST_F(RejectedNumber, IsEmsgsizeAsSoonAsTheLengthArrives) {
    for (const char* length : {"2048:", "9999:", "65536:", "2147483648:", "4294967297:", "9999999999:"}) {
        connect_and_send(length);
        EXPECT_EQ(read_number(socket()), number_refused(EMSGSIZE)) << length;
    }
}

TEST_F(RejectedString, IsEmsgsizeAsSoonAsTheLengthArrives) {
    for (const char* length : {"2048:", "9999:", "65536:", "2147483648:", "4294967297:", "9999999999:"}) {
        connect_and_send(length);
        EXPECT_EQ(read_string(socket()), string_refused(EMSGSIZE)) << length;
    }
}

TEST_F(RejectedString, IsNotCutToFit) {
    send(framed(repeated('x', 2048)));
    EXPECT_EQ(read_string(socket()), string_refused(EMSGSIZE));
    EXPECT_EQ(unread(), repeated('x', 2048) + ",");
}

TEST_F(RejectedString, IsEmsgsizeOneByteBeyondTheCallersLimit) {
    struct Limit {
        int max_length;
        const char* length;
    };
    for (const Limit& row : {Limit{0, "1:"}, Limit{1, "2:"}, Limit{10, "11:"}, Limit{4096, "4097:"}}) {
        connect_and_send(row.length);
        EXPECT_EQ(read_string(socket(), row.max_length), string_refused(EMSGSIZE)) << row.max_length;
    }
}

TEST_F(RejectedString, ConsumesOnlyTheBytesThatShowTheError) {
    struct BadString {
        std::string sent;
        int error;
        std::string unread;
    };
    const BadString rows[] = {
        {":5,", EPROTO, "5,"},
        {"x1:5,", EPROTO, "1:5,"},
        {"12x4:/tmp,", EPROTO, "4:/tmp,"},
        {"00:,", EPROTO, ":,"},
        {"012:5", EPROTO, "2:5"},
        {"12345678901:", EPROTO, ":"},
        {"1234567890x:", EPROTO, ":"},
        {"2048:4:/tmp,", EMSGSIZE, "4:/tmp,"},
        {"9999999999:" + repeated('x', 3000), EMSGSIZE, repeated('x', 3000)},
        {"4:/tmp;4:/opt,", EPROTO, "4:/opt,"},
    };
    for (const BadString& row : rows) {
        connect_and_send(row.sent);
        EXPECT_EQ(read_string(socket()), string_refused(row.error)) << row.sent;
        EXPECT_EQ(unread(), row.unread) << row.sent;
    }
}

TEST_F(RejectedString, IsEilseqWithAZeroByte) {
    for (const std::string& text : {"\0"s, "\0abc"s, "a\0c"s, "abc\0"s, repeated('\0', 2047)}) {
        connect_and_send(framed(text) + "rest");
        EXPECT_EQ(read_string(socket()), string_refused(EILSEQ)) << testing::PrintToString(text);
        EXPECT_EQ(unread(), "rest") << testing::PrintToString(text);
    }
}

TEST_F(RejectedNumber, IsEconnresetWhereverThePeerCloses) {
    const std::string whole = "10:2147483648,";
    for (std::size_t sent = 0; sent < whole.size(); ++sent) {
        connect_and_send(whole.substr(0, sent));
        close_peer();
        EXPECT_EQ(read_number(socket()), number_refused(ECONNRESET)) << sent << " bytes";
    }
}

TEST_F(RejectedString, IsEconnresetWhereverThePeerCloses) {
    const std::string whole = "12:GETDISKSPACE,";
    for (std::size_t sent = 0; sent < whole.size(); ++sent) {
        connect_and_send(whole.substr(0, sent));
        close_peer();
        EXPECT_EQ(read_string(socket()), string_refused(ECONNRESET)) << sent << " bytes";
    }
}

TEST_F(RejectedString, IsEconnresetWhenThePeerOnlyStopsSending) {
    send("12:GET");
    ASSERT_EQ(shutdown(ends_.peer_end.get(), SHUT_WR), 0);
    EXPECT_EQ(read_string(socket()), string_refused(ECONNRESET));
}

TEST_F(RejectedString, IsEconnresetWhenThePeerCloses) {
    overrides.steady_time = std::chrono::nanoseconds(0);
    overrides.instead_of_waiting = [&] { close_peer(); };
    send("12:GET");
    EXPECT_EQ(read_string(socket()), string_refused(ECONNRESET));
}

TEST_F(RejectedString, IsEconnresetWhenThePeerResetsTheConnection) {
    ends_ = connect_over_tcp({});
    const linger reset = {.l_onoff = 1, .l_linger = 0};
    ASSERT_EQ(setsockopt(ends_.peer_end.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset), 0);
    close_peer();
    EXPECT_EQ(read_string(socket()), string_refused(ECONNRESET));
}

TEST_F(RejectedNumber, ReportsTheErrorOfTheSystemCall) {
    EXPECT_EQ(read_number(-1), number_refused(EBADF));
    const Descriptor unconnected(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(read_number(unconnected.get()), number_refused(ENOTCONN));
}

TEST_F(RejectedString, ReportsTheErrorOfTheSystemCall) {
    EXPECT_EQ(read_string(-1), string_refused(EBADF));
    const Descriptor unconnected(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(read_string(unconnected.get()), string_refused(ENOTCONN));
}

// A socket reports an error once. Later calls succeed.
TEST_F(RejectedString, ReportsAnErrorThatTheSocketReportsOnce) {
    send("4:/tmp,");
    failures["recv"] = {EHOSTUNREACH};
    EXPECT_EQ(read_string(socket()), string_refused(EHOSTUNREACH));
    EXPECT_EQ(unread(), "4:/tmp,");
}

TEST_F(RejectedNumber, ReportsAnErrorThatTheSocketReportsOnce) {
    send("1:5,");
    failures["recv"] = {EHOSTUNREACH};
    EXPECT_EQ(read_number(socket()), number_refused(EHOSTUNREACH));
    EXPECT_EQ(unread(), "1:5,");
}

TEST_F(RejectedNumber, ReportsWhyTheWaitForItsRestFailed) {
    failures["poll"] = {ENOMEM};
    send("4:10");
    EXPECT_EQ(read_number(socket()), number_refused(ENOMEM));
}

TEST_F(RejectedString, ReportsWhyTheWaitForItsRestFailed) {
    failures["poll"] = {ENOMEM};
    send("4:/t");
    EXPECT_EQ(read_string(socket()), string_refused(ENOMEM));
}
