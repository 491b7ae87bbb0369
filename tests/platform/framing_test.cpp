// Framed reads that succeed, and how many bytes they consume.
#include <chrono>
#include <climits>
#include <string>

#include "platform/network.h"
#include "tests/platform/child_process.h"
#include "tests/platform/framed_value.h"

namespace {

class FramedNumber : public FramingTest {};
class FramedString : public FramingTest {};

}  // namespace

TEST_F(FramedNumber, IsReadOverItsWholeRange) {
    struct NumberInFrame {
        const char* framed;
        long long number;
    };
    const NumberInFrame rows[] = {
        {"1:0,", 0},
        {"1:2,", 2},
        {"2:-1,", -1},
        {"2:-0,", 0},
        {"3:007,", 7},
        {"4:-007,", -7},
        {"4:0000,", 0},
        {"10:2147483648,", 2147483648LL},
        {"19:9223372036854775807,", LLONG_MAX},
        {"20:-9223372036854775808,", LLONG_MIN},
        {"21:009223372036854775807,", LLONG_MAX},
        {"22:-009223372036854775808,", LLONG_MIN},
    };
    for (const NumberInFrame& row : rows) {
        connect_and_send(row.framed);
        EXPECT_EQ(read_number(socket()), number_read(row.number)) << row.framed;
    }
}

TEST_F(FramedNumber, MayHave2047Digits) {
    send(framed(repeated('0', 2046) + "5"));
    EXPECT_EQ(read_number(socket()), number_read(5));
    connect_and_send(framed("-" + repeated('0', 2045) + "5"));
    EXPECT_EQ(read_number(socket()), number_read(-5));
}

TEST_F(FramedString, IsReadWhole) {
    std::string high_bytes;
    for (int byte = 1; byte < 256; ++byte) {
        high_bytes += static_cast<char>(byte);
    }
    for (const std::string& text :
         {std::string(), std::string("/tmp"), std::string("a,b:c"), std::string("12:GETDISKSPACE,"), high_bytes,
          repeated('x', 9), repeated('x', 10), repeated('x', 999), repeated('x', 1000), repeated('x', 2046),
          repeated('x', 2047)}) {
        connect_and_send(framed(text));
        EXPECT_EQ(read_string(socket()), string_read(text));
    }
}

TEST_F(FramedString, MayBeAsLongAsTheCallersLimit) {
    struct Limit {
        int max_length;
        std::string text;
    };
    for (const Limit& row :
         {Limit{0, ""}, Limit{1, "a"}, Limit{10, "0123456789"}, Limit{100'000, repeated('x', 100'000)}}) {
        connect_and_send(framed(row.text));
        EXPECT_EQ(read_string(socket(), row.max_length), string_read(row.text));
    }
}

TEST_F(FramedNumber, ConsumesOnlyItsOwnBytes) {
    send("1:2,12:GETDISKSPACE,");
    EXPECT_EQ(read_number(socket()), number_read(2));
    EXPECT_EQ(unread(), "12:GETDISKSPACE,");
}

TEST_F(FramedString, ConsumesOnlyItsOwnBytes) {
    send("4:/tmp,bytes after the request");
    EXPECT_EQ(read_string(socket()), string_read("/tmp"));
    EXPECT_EQ(unread(), "bytes after the request");
}

TEST_F(FramedString, ConsumesOnlyItsOwnBytesWhenItIsEmptyOrLong) {
    send("0:," + framed(repeated('x', 2047)) + "0:,end");
    EXPECT_EQ(read_string(socket()), string_read(""));
    EXPECT_EQ(read_string(socket()), string_read(repeated('x', 2047)));
    EXPECT_EQ(read_string(socket()), string_read(""));
    EXPECT_EQ(unread(), "end");
}

TEST_F(FramedString, ConsumesOnlyItsOwnBytesWhereverItsArrivalPauses) {
    const std::string value = "12:GETDISKSPACE,";
    system_calls::overrides.steady_time = std::chrono::nanoseconds(0);
    for (std::size_t first = 0; first < value.size(); ++first) {
        connect_and_send(value.substr(0, first));
        system_calls::overrides.instead_of_waiting = [&] { send(value.substr(first) + "4:/tmp,"); };
        EXPECT_EQ(read_string(socket()), string_read("GETDISKSPACE")) << first << " bytes";
        EXPECT_EQ(unread(), "4:/tmp,") << first << " bytes";
    }
}

// Unread bytes would end each wait at once.
TEST_F(FramedString, IsWaitedForWithoutUnreadBytesOnTheSocket) {
    std::string coming = "12:GETDISKSPACE,";
    int waits = 0;
    system_calls::overrides.steady_time = std::chrono::nanoseconds(0);
    system_calls::overrides.instead_of_waiting = [&] {
        EXPECT_EQ(unread(), "") << "before " << coming;
        send(coming.substr(0, 1));
        coming.erase(0, 1);
        ++waits;
    };
    EXPECT_EQ(read_string(socket()), string_read("GETDISKSPACE"));
    EXPECT_EQ(waits, 16);
}

TEST_F(FramedString, TakesTwoCallsOrThreeWhenTheBufferHasNoRoomForItsLength) {
    for (const auto& [text, receptions] :
         {std::pair(std::string(), 2), std::pair(std::string("/tmp"), 2), std::pair(repeated('x', 2042), 2),
          std::pair(repeated('x', 2043), 3), std::pair(repeated('x', 2047), 3)}) {
        connect_and_send(framed(text) + "rest");
        system_calls::receptions = 0;
        EXPECT_EQ(read_string(socket()), string_read(text));
        EXPECT_EQ(system_calls::receptions, receptions) << text.size();
    }
}

TEST_F(FramedString, IsReadBeforeTheEndOfTheConnection) {
    send("1:2,12:GETDISKSPACE,4:/tmp,");
    close_peer();
    EXPECT_EQ(read_number(socket()), number_read(2));
    EXPECT_EQ(read_string(socket()), string_read("GETDISKSPACE"));
    EXPECT_EQ(read_string(socket()), string_read("/tmp"));
    EXPECT_EQ(read_string(socket()), string_refused(ECONNRESET));
}

// The next byte arrives when the reader has consumed all earlier ones and waits.
TEST_F(FramedString, IsReadWhenItComesByteByByte) {
    std::string coming = "4:1066,12:GETDISKSPACE,";
    system_calls::overrides.steady_time = std::chrono::nanoseconds(0);
    system_calls::overrides.instead_of_waiting = [&] {
        if (coming.empty()) {
            close_peer();
        } else {
            send(coming.substr(0, 1));
            coming.erase(0, 1);
        }
    };
    EXPECT_EQ(read_number(socket()), number_read(1066));
    EXPECT_EQ(read_string(socket()), string_read("GETDISKSPACE"));
    EXPECT_EQ(coming, "");
}

TEST_F(FramedString, IsReadFromAPeerThatWritesAtItsOwnPace) {
    const std::string text(2000, 'x');
    ChildProcess peer([&] {
        for (const char byte : framed(text) + framed("last")) {
            send(std::string(1, byte));
        }
    });
    EXPECT_EQ(read_string(socket()), string_read(text));
    EXPECT_EQ(read_string(socket()), string_read("last"));
    EXPECT_EQ(peer.wait(), 0);
}

TEST_F(FramedString, IsReadOverTcp) {
    ends_ = connect_over_tcp({});
    send("1:2,4:/tmp,rest");
    close_peer();
    EXPECT_EQ(read_number(socket()), number_read(2));
    EXPECT_EQ(read_string(socket()), string_read("/tmp"));
    EXPECT_EQ(unread(), "rest");
}
