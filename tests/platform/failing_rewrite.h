// A rewrite that fails leaves the old text and nothing else.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <string>

#include "tests/platform/rewritten_file.h"
#include "tests/platform/system_calls.h"
#include "tests/support/failing_calls.h"
#include "tests/support/test_files.h"

class FailingRewrite : public RewriteTest {
  protected:
    // Prepares the change of the file as it is before it, with an attribute.
    static Change prepare_anew() {
        write_file(GetParam().path, GetParam().before);
        EXPECT_EQ(setxattr(GetParam().path.c_str(), "user.note", "kept", 4, 0), 0);
        return GetParam().prepare();
    }

    // Makes the change, and expects that it fails with the error and changes nothing.
    void expect_failure(const Change& change, int error) const {
        const struct stat before = state_of(GetParam().path);
        EXPECT_EQ(change(), GetParam().failure(error));
        EXPECT_EQ(failing_calls::reset(), "");
        system_calls::reset();
        EXPECT_EQ(state_of(GetParam().path).st_ino, before.st_ino);
        EXPECT_EQ(state_of(GetParam().path).st_mode, before.st_mode);
        expect_text(GetParam().before);
        expect_nothing_left_behind();
    }
};
