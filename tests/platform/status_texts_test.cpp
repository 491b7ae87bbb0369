// The texts of statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <map>
#include <string>

#include "platform/library/statuses.h"
#include "platform/main_configuration.h"
#include "platform/network.h"
#include "platform/runtime.h"
#include "platform/unified_logging.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

constexpr int product_statuses[] = {0,    1,    23,   27,   29,   135,  602,  5762, 5763, 5764, 5766,
                                    5769, 5772, 5784, 5796, 5803, 5804, 5806, 5809, 5811, 5820, 5822};

constexpr int unknown_statuses[] = {INT_MIN, -1, 2, 22, 24, 136, 252, 5765, 5999, 6000, 6144, 7000, INT_MAX};

// Returns the text of an unknown status, with "#" in place of the number.
std::string text_without_number(int status) {
    std::string text = getECmsg(status);
    const std::string number = std::to_string(status);
    const std::size_t place = text.find(number);
    return place == std::string::npos ? text : text.replace(place, number.size(), "#");
}

bool has_its_own_text(int status) {
    return text_without_number(status) != text_without_number(424242);
}

// A status line holds 511 bytes. The text has to leave room for the rest.
constexpr std::size_t longest_text = 200;

}  // namespace

class StatusText : public ProductTest {};

TEST_F(StatusText, IsUniqueForEachStatusOfTheProduct) {
    std::map<std::string, int> seen;
    for (const int status : product_statuses) {
        EXPECT_TRUE(has_its_own_text(status)) << status;
        const auto [entry, is_new] = seen.emplace(getECmsg(status), status);
        EXPECT_TRUE(is_new) << status << " and " << entry->second << ": " << entry->first;
    }
}

TEST_F(StatusText, ContainsTheNumberOfAnyOtherStatus) {
    for (const int status : unknown_statuses) {
        EXPECT_NE(std::string(getECmsg(status)).find(std::to_string(status)), std::string::npos) << getECmsg(status);
    }
}

TEST_F(StatusText, IsNeverEmptyOrLongOrTwoLines) {
    for (int status = -10; status < 12000; ++status) {
        const std::string text = getECmsg(status);
        EXPECT_FALSE(text.empty()) << status;
        EXPECT_LT(text.size(), longest_text) << status;
        EXPECT_EQ(text.find('\n'), std::string::npos) << status;
    }
}

TEST_F(StatusText, SaysWhyTheMainConfigurationCouldNotBeUpdated) {
    for (const int error : {EPERM, ENOENT, EACCES, ENOSPC, EROFS, EBUSY, EXDEV}) {
        const int status = platform_library::status::configuration_not_updated + error;
        EXPECT_NE(std::string(getECmsg(status)).find(strerror(error)), std::string::npos) << getECmsg(status);
    }
}

TEST_F(StatusText, SaysWhatToMoveAwayWhenTheNewNameIsTaken) {
    const std::string text = getECmsg(platform_library::status::configuration_not_updated + EEXIST);
    EXPECT_NE(text.find("(6017)"), std::string::npos) << text;
    EXPECT_NE(text.find(".qr.conf.new"), std::string::npos) << text;
}

TEST_F(StatusText, TreatsNumbersFrom6144OnAsStatusesOfTools) {
    EXPECT_NE(std::string(getECmsg(6143)).find("qr.conf"), std::string::npos) << getECmsg(6143);
    // The connection broker's wait status is 256 times the exit status of its tool: 24 to 27 here.
    for (const int status : {6144, 6400, 6656, 6912}) {
        EXPECT_FALSE(has_its_own_text(status)) << getECmsg(status);
        EXPECT_NE(std::string(getECmsg(status)).find(std::to_string(status)), std::string::npos) << getECmsg(status);
    }
}

TEST_F(StatusText, ExistsForEveryFailureOfTheLibrary) {
    std::map<std::string, int> failures;
    remove_tree(main_configuration);
    failures["configuration not read"] = ZM_read_master_config();
    ConfigRecord record{};
    char refused[] = "SERVER=elsewhere";
    failures["configuration text refused"] = ParseConfigExA(refused, &record, nullptr, 1);
    char accepted[] = "KEY=value";
    ASSERT_EQ(ParseConfigExA(accepted, &record, nullptr, 1), 0);
    failures["configuration not updated"] = UpdateHostConfigExA(QRConfZMStandardServer, &record, nullptr, 0, 0, 0);
    FreeConfig(&record);
    std::uint32_t flags = 0;
    std::uint32_t user_type = 0;
    failures["peer not examined"] = xnet_verify_peer_creds(-1, 0, 1, &flags, &user_type, nullptr, 60);
    holkLogCfg* handle = nullptr;
    failures["store not read"] = holkLogReadCfg(51216, 111, &handle);
    write_file("/usr/kumel/ktul/51216.conf", "111.DebugLevel=x\n");
    failures["level not valid"] = holkLogReadCfg(51216, 111, &handle);

    std::map<std::string, std::string> texts;
    for (const auto& [failure, status] : failures) {
        EXPECT_EQ(std::count(std::begin(product_statuses), std::end(product_statuses), status), 0) << failure;
        EXPECT_TRUE(has_its_own_text(status)) << failure;
        const auto [entry, is_new] = texts.emplace(getECmsg(status), failure);
        EXPECT_TRUE(is_new) << failure << " and " << entry->second;
    }
}
