// The owner of a file descriptor.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/posix.h"

namespace {

Descriptor open_root() {
    return Descriptor(open("/", O_RDONLY | O_CLOEXEC));
}

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

TEST(Descriptor, IsClosedWithItsOwner) {
    const int fd = open_root().get();
    EXPECT_FALSE(is_open(fd));
}

TEST(Descriptor, KeepsTheErrorNumberWhenItIsClosed) {
    {
        const Descriptor file = open_root();
        errno = ENOSPC;
    }
    EXPECT_EQ(errno, ENOSPC);
}

TEST(Descriptor, MovesFromOneOwnerToAnother) {
    Descriptor from = open_root();
    Descriptor to = open_root();
    const int moved = from.get();
    const int replaced = to.get();
    to = std::move(from);
    EXPECT_EQ(to.get(), moved);
    EXPECT_TRUE(is_open(moved));
    EXPECT_FALSE(is_open(replaced));
}

TEST(Descriptor, StaysOpenWhenItsOwnerIsAssignedToItself) {
    Descriptor file = open_root();
    Descriptor& same = file;
    const int fd = file.get();
    file = std::move(same);
    EXPECT_EQ(file.get(), fd);
    EXPECT_TRUE(is_open(fd));
}

}  // namespace
