// The registry that names the configuration file of the deduplication components.
#include <array>
#include <cstring>
#include <random>

#include "logging_config/deduplication.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages;

using log_level::error;

class GetKpaConfFilepath : public AgentTest {
  protected:
    int find(const std::string& text) {
        write_file(registry_, text);
        return get_kpa_conf_filepath(registry_, path_, buffer_.data(), buffer_.size());
    }

    ScratchFolder folder_;
    const std::string registry_ = folder_.path("registry");
    std::string path_;
    std::array<char, 1024> buffer_{"untouched"};
};

TEST_F(GetKpaConfFilepath, IsWhatFollowsTheEqualsSign) {
    EXPECT_EQ(find("other=/x\nPath=/etc/kpa.cfg\n"), 0);
    EXPECT_EQ(path_, "/etc/kpa.cfg");
    EXPECT_STREQ(buffer_.data(), "untouched");
    EXPECT_EQ(messages(), Lines{});
}

TEST_F(GetKpaConfFilepath, ComesFromTheFirstLineWithTheMarkerAnywhere) {
    EXPECT_EQ(find("# kpa.cfg=/first\nPath=/second/kpa.cfg\n"), 0);
    EXPECT_EQ(path_, "/first");
}

TEST_F(GetKpaConfFilepath, ComesFromALineAnywhereInTheFile) {
    const std::string marked_line = "kpa.cfg=/etc/kpa\n";
    for (const std::size_t length : {0U, 4091U, 4095U, 4096U, 300'000U}) {
        path_.clear();
        EXPECT_EQ(find(std::string(length, 'x') + "\n" + marked_line), 0);
        EXPECT_EQ(path_, "/etc/kpa") << length;
        path_.clear();
        EXPECT_EQ(find(std::string(length, 'x') + marked_line), 0);
        EXPECT_EQ(path_, "/etc/kpa") << length;
    }
}

TEST_F(GetKpaConfFilepath, MayBeOfAnyLength) {
    const std::string path = "/" + std::string(10'000, 'p');
    EXPECT_EQ(find("kpa.cfg=" + path + "\n"), 0);
    EXPECT_EQ(path_, path);
}

TEST_F(GetKpaConfFilepath, IsNotTrimmedAndKeepsFurtherEqualsSigns) {
    EXPECT_EQ(find("kpa.cfg = /a=b \r\n"), 0);
    EXPECT_EQ(path_, " /a=b \r");
}

TEST_F(GetKpaConfFilepath, ComesFromALastLineWithoutANewline) {
    EXPECT_EQ(find("a\nx=/kpa.cfg"), 0);
    EXPECT_EQ(path_, "/kpa.cfg");
}

TEST_F(GetKpaConfFilepath, IsNotChangedForALineWithoutAnEqualsSign) {
    path_ = "before";
    EXPECT_EQ(find("kpa.cfg\nx=/kpa.cfg\n"), 0);
    EXPECT_EQ(path_, "before");
}

TEST_F(GetKpaConfFilepath, IsEmptyForALineThatEndsInTheEqualsSign) {
    path_ = "before";
    EXPECT_EQ(find("kpa.cfg=\n"), 0);
    EXPECT_EQ(path_, "");
}

TEST_F(GetKpaConfFilepath, EndsAtAZeroByte) {
    EXPECT_EQ(find("kpa.cfg=/k" + std::string(1, '\0') + "further\n"), 0);
    EXPECT_EQ(path_, "/k");
    EXPECT_EQ(find("kpa.cfg=" + std::string(1, '\0') + "/k\n"), 0);
    EXPECT_EQ(path_, "");
}

TEST_F(GetKpaConfFilepath, ComesFromALineWithZeroBytesBeforeIt) {
    EXPECT_EQ(find(std::string(1, '\0') + "kpa" + std::string(1, '\0') + "\nx" + std::string(1, '\0') + "kpa.cfg=/k\n"),
              0);
    EXPECT_EQ(path_, "/k");
}

TEST_F(GetKpaConfFilepath, Returns5806WithoutALine) {
    for (const std::string text : {"", "x=/y\n", "KPA.CFG=/x\n", "kpa=cfg\nkpa\n.cfg"}) {
        recording_platform::reset();
        EXPECT_EQ(find(text), 5806);
        const std::string message = "Failed to find kpa.cfg entry in " + registry_;
        EXPECT_EQ(buffer_.data(), message);
        EXPECT_EQ(messages(), (Lines{{error, "get_kpa_conf_filepath", message}}));
    }
    EXPECT_EQ(path_, "");
}

TEST_F(GetKpaConfFilepath, Returns5803WhenTheRegistryCannotBeOpened) {
    const std::string missing = folder_.path("%s%n");
    EXPECT_EQ(get_kpa_conf_filepath(missing, path_, buffer_.data(), buffer_.size()), 5803);
    const std::string message = "Failed to open file (" + missing + ") E=2 (No such file or directory)";
    EXPECT_EQ(buffer_.data(), message);
    EXPECT_EQ(messages(), (Lines{{error, "get_kpa_conf_filepath", message}}));
}

TEST_F(GetKpaConfFilepath, NeverOverrunsTheBuffer) {
    for (const unsigned long size : {1UL, 8UL}) {
        std::string buffer(100, '~');
        EXPECT_EQ(get_kpa_conf_filepath("/missing", path_, buffer.data(), size), 5803);
        EXPECT_EQ(buffer, std::string("Failed to open").substr(0, size - 1) + '\0' + std::string(100 - size, '~'));
        write_file(registry_, "");
        buffer.assign(100, '~');
        EXPECT_EQ(get_kpa_conf_filepath(registry_, path_, buffer.data(), size), 5806);
        EXPECT_EQ(buffer, std::string("Failed to find").substr(0, size - 1) + '\0' + std::string(100 - size, '~'));
    }
}

TEST_F(GetKpaConfFilepath, Returns5806ForAFolder) {
    EXPECT_EQ(get_kpa_conf_filepath(folder_.path(), path_, buffer_.data(), buffer_.size()), 5806);
    const std::string message = "Failed to find kpa.cfg entry in " + folder_.path();
    EXPECT_EQ(buffer_.data(), message);
    EXPECT_EQ(messages(), (Lines{{error, "get_kpa_conf_filepath", message}}));
}

// Compares random registries with the result of a simple parser.
class RandomRegistry : public GetKpaConfFilepath {
  protected:
    std::string make_text() {
        static const std::array<std::string, 9> pieces = {
            std::string(1, '\0'), "\n", "=", "kpa.cfg", "kpa", "/", "x", " ", "\r"};
        std::string text;
        for (auto i = random_() % 24; i > 0; --i) {
            text += pieces[random_() % pieces.size()];
        }
        return text;
    }

    // Returns the status, and sets the path.
    static int read_plainly(std::string text, std::string& path) {
        text += '\n';
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = text.find('\n', start);
            const std::string line = text.substr(start, end - start);
            start = end + 1;
            if (line.find("kpa.cfg") != std::string::npos) {
                const std::size_t equals = line.find('=');
                path = equals == std::string::npos ? "" : line.substr(equals + 1).c_str();
                return 0;
            }
        }
        return 5806;
    }

  private:
    std::mt19937 random_{1};
};

TEST_F(RandomRegistry, ReturnsThePathOfItsFirstMarkedLineUpToAZeroByte) {
    int found = 0;
    for (int i = 0; i < 2000; ++i) {
        const std::string text = make_text();
        path_.clear();
        std::string expected;
        const int status = read_plainly(text, expected);
        ASSERT_EQ(find(text), status) << testing::PrintToString(text);
        ASSERT_EQ(path_, expected) << testing::PrintToString(text);
        found += status == 0 ? 1 : 0;
    }
    EXPECT_GT(found, 500);
}

}  // namespace
