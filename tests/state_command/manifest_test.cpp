#include "state_command/manifest.h"

#include <gmock/gmock.h>

#include <string>

#include "state_command/sha256.h"

namespace {

using namespace std::string_literals;

ProductState sample() {
    ProductState state;
    state.host = "a host";
    state.time = "2026-01-02T03:04:05Z";
    FileState& file = state.files["/folder with blanks\n/\\x41 \x7f\xff"];
    file.kind = FileState::Kind::file;
    file.text = "text";
    file.mode = 02640;
    file.owner = 4294967294U;
    file.group = 7;
    file.modified = {.tv_sec = 1, .tv_nsec = 2};
    file.attributes = {{"user.empty", ""}, {"user.bytes", "\0\n\xff"s}};
    state.files["/link"] = {.kind = FileState::Kind::link, .text = "../to where"};
    state.files["/missing"] = {};
    state.files["/unread"] = {.kind = FileState::Kind::unread, .error = 13};
    state.log_directories["/logs/a b"] = {"/logs/a b", 01777, 1, 2};
    state.unread_directories["/logs/closed"] = 13;
    return state;
}

// Returns a manifest of these lines with their digest.
std::string signed_text(const std::string& lines) {
    return lines + "end " + sha256(lines) + "\n";
}

}  // namespace

TEST(Sha256, MatchesTheExamplesOfTheStandard) {
    EXPECT_EQ(sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(sha256("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqrs"
                     "mnopqrstnopqrstu"),
              "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1");
    EXPECT_EQ(sha256(std::string(1000000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

// Lengths around the end of a block. The digests are from sha256sum.
TEST(Sha256, PadsTextsOfEveryLength) {
    EXPECT_EQ(sha256(std::string(55, 'x')), "d5e285683cd4efc02d021a5c62014694958901005d6f71e89e0989fac77e4072");
    EXPECT_EQ(sha256(std::string(56, 'x')), "04c26261370ee7541549d16dee320c723e3fd14671e66a099afe0a377c16888e");
    EXPECT_EQ(sha256(std::string(63, 'x')), "75220b47218278e656f2013bb8f0c455a25eaf01e86c64924e9d48d89776d6f2");
    EXPECT_EQ(sha256(std::string(64, 'x')), "7ce100971f64e7001e8fe5a51973ecdfe1ced42befe7ee8d5fd6219506b5393c");
}

TEST(Manifest, IsReadBackUnchanged) {
    const std::optional<Manifest> manifest = decode_manifest(encode_manifest(sample()));
    ASSERT_TRUE(manifest);
    EXPECT_EQ(manifest->state.host, "a host");
    EXPECT_EQ(manifest->state.time, "2026-01-02T03:04:05Z");
    ProductState expected = sample();
    for (auto& [path, file] : expected.files) {
        const FileState& decoded = manifest->state.files.at(path);
        if (file.kind == FileState::Kind::file) {
            EXPECT_EQ(manifest->copies.at(path).size, file.text.size());
            EXPECT_EQ(manifest->copies.at(path).digest, sha256(file.text));
            file.text.clear();
        }
        EXPECT_TRUE(is_same(decoded, file)) << path;
        EXPECT_EQ(decoded.error, file.error);
    }
    EXPECT_EQ(manifest->state.files.size(), expected.files.size());
    const LogDirectory& directory = manifest->state.log_directories.at("/logs/a b");
    EXPECT_EQ(directory.mode, 01777U);
    EXPECT_EQ(directory.owner, 1U);
    EXPECT_EQ(directory.group, 2U);
    EXPECT_EQ(manifest->state.unread_directories, expected.unread_directories);
}

TEST(Manifest, IsRejectedWithoutItsDigest) {
    const std::string text = encode_manifest(sample());
    for (std::size_t i = 0; i != text.size(); ++i) {
        std::string changed = text;
        changed[i] = static_cast<char>(changed[i] ^ 1);
        EXPECT_FALSE(decode_manifest(changed)) << i;
        EXPECT_FALSE(decode_manifest(text.substr(0, i))) << i;
    }
}

TEST(Manifest, IsRejectedWithAnUnknownLine) {
    const std::string start = "zmlogstate 1\n";
    const std::string file = "file /a 0644 0 0 1.0 4 digest\n";
    EXPECT_TRUE(decode_manifest(signed_text(start + file)));
    for (const std::string& lines : {""s,
                                     "zmlogstate 2\n"s,
                                     start + "\n",
                                     start + "else /a\n",
                                     start + file + file,
                                     start + "missing a\n",
                                     start + "missing\n",
                                     start + "missing /a b\n",
                                     start + "link /a\n",
                                     start + "unread /a x\n",
                                     start + "file /a 0648 0 0 1.0 4 digest\n",
                                     start + "file /a 10000 0 0 1.0 4 digest\n",
                                     start + "file /a 0644 -1 0 1.0 4 digest\n",
                                     start + "file /a 0644 0 4294967296 1.0 4 digest\n",
                                     start + "file /a 0644 0 0 1.0 x digest\n",
                                     start + "file /a 0644 0 0 1.0 4\n",
                                     start + "attribute user.a =00\n",
                                     start + file + "attribute user.a 00\n",
                                     start + file + "attribute user.a =0\n",
                                     start + file + "attribute user.a =0G\n",
                                     start + "missing /b\nattribute user.a =00\n",
                                     start + "missing /\\y41\n",
                                     start + "missing /\\x4\n",
                                     start + "missing /\\\n",
                                     start + "directory /a 0755 0\n",
                                     start + "directory /a x 0 0\n",
                                     start + "directory relative 0755 0 0\n",
                                     start + "missing /a/../b\n",
                                     start + "missing /a\\x00b\n",
                                     start + "unread-directory /a\n"}) {
        EXPECT_FALSE(decode_manifest(signed_text(lines))) << lines;
    }
}
