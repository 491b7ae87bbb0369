#include "logging_config/cloud_and_authorization.h"

#include <cerrno>

#include "tests/unit/agent_test.h"

namespace {

const std::string storage_file = "/usr/kumel/lib/stg-plugins/wqf.conf";
const std::string recovery_file = "/usr/kumel/lib/stg-plugins/hlt.conf";
const std::string container_file = "/usr/kumel/lib/stg-plugins/skyhold.conf";
const std::string authorization_file = "/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf";

class CloudAndAuthorization : public ProductPathTest {
  protected:
    CloudAndAuthorization() {
        for (const std::string& file : {storage_file, recovery_file, container_file, authorization_file}) {
            write_file(file, "");
        }
    }

    // Lets the first value of a request fail and the others succeed.
    static void refuse_the_first_rename() { failures["rename"] = {EBUSY}; }

    static std::string refused_rename_of(const std::string& file) {
        return "Failed to rename " + file + ".new to " + file + " E=16 (Device or resource busy)\n";
    }

    Responses responses_;
};

class ProcessCorvid : public CloudAndAuthorization {};

TEST_F(ProcessCorvid, SetsTheStorageServersLevel) {
    EXPECT_EQ(process_corvid("CORVID", {"zmwqf=3"}, responses_), 0);
    EXPECT_EQ(read_file(storage_file), "WQF:LOGLEVEL=3\n");
    EXPECT_EQ(read_file(recovery_file), "");
    EXPECT_EQ(responses_, (Responses{"PROCESS=CORVID:zmwqf STATUS=0 MSG=Set up zmwqf debug logging\n"}));
}

TEST_F(ProcessCorvid, SetsLevelFiveForTheStorageServerWithoutALevel) {
    process_corvid("CORVID", {"zmwqf"}, responses_);
    EXPECT_EQ(read_file(storage_file), "WQF:LOGLEVEL=5\n");
}

TEST_F(ProcessCorvid, SetsTheRecoveryServersLevelForEveryOtherName) {
    for (const std::string name : {"other", "ZMWQF", "zmwqf2", "zmwq", " zmwqf", "zmwqf ", ""}) {
        write_file(recovery_file, "");
        EXPECT_EQ(process_corvid("CORVID", {name + "=3"}, responses_), 0);
        EXPECT_EQ(read_file(recovery_file), "HLT:LOGLEVEL=3\n") << name;
        EXPECT_EQ(responses_.back(), "PROCESS=CORVID:" + name + " STATUS=0 MSG=Set up " + name + " debug logging\n");
    }
    EXPECT_EQ(read_file(storage_file), "");
}

TEST_F(ProcessCorvid, SetsLevelFiveForTheRecoveryServerWithoutALevel) {
    process_corvid("CORVID", {"other"}, responses_);
    EXPECT_EQ(read_file(recovery_file), "HLT:LOGLEVEL=5\n");
}

TEST_F(ProcessCorvid, AppliesTheOtherValuesAfterAFailureAndReturnsItsStatus) {
    remove_tree(storage_file);
    EXPECT_EQ(process_corvid("CORVID", {"other=1", "zmwqf=1", "other=2"}, responses_), 5803);
    EXPECT_EQ(read_file(recovery_file), "HLT:LOGLEVEL=2\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=CORVID:other STATUS=0 MSG=Set up other debug logging\n",
                                     "PROCESS=CORVID:zmwqf STATUS=5803 MSG=Could not open file " + storage_file +
                                         " E=2 (No such file or directory)\n",
                                     "PROCESS=CORVID:other STATUS=0 MSG=Set up other debug logging\n"}));
}

TEST_F(ProcessCorvid, CombinesSeveralFailuresIntoTheSameStatus) {
    remove_tree("/usr/kumel/lib");
    EXPECT_EQ(process_corvid("CORVID", {"zmwqf", "other"}, responses_), 5803);
    EXPECT_EQ(responses_.size(), 2U);
}

class ProcessCloud : public CloudAndAuthorization {};

TEST_F(ProcessCloud, SetsTheContainersLevelForAnyName) {
    EXPECT_EQ(process_cloud("CLOUD", {"skyhold"}, responses_), 0);
    EXPECT_EQ(read_file(container_file), "SHCT_LOG_LEVEL=5\n");
    EXPECT_EQ(process_cloud("CLOUD", {"other=2"}, responses_), 0);
    EXPECT_EQ(read_file(container_file), "SHCT_LOG_LEVEL=2\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=CLOUD:skyhold STATUS=0 MSG=Set up skyhold debug logging\n",
                                     "PROCESS=CLOUD:other STATUS=0 MSG=Set up other debug logging\n"}));
}

TEST_F(ProcessCloud, ReportsAndReturnsAFailure) {
    remove_tree(container_file);
    EXPECT_EQ(process_cloud("CLOUD", {"a", "b"}, responses_), 5803);
    EXPECT_EQ(responses_.size(), 2U);
}

TEST_F(ProcessCloud, AppliesTheOtherValuesAfterAFailureAndReturnsItsStatus) {
    refuse_the_first_rename();
    EXPECT_EQ(process_cloud("CLOUD", {"a", "b=2"}, responses_), 5803);
    EXPECT_EQ(read_file(container_file), "SHCT_LOG_LEVEL=2\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=CLOUD:a STATUS=5803 MSG=" + refused_rename_of(container_file),
                                     "PROCESS=CLOUD:b STATUS=0 MSG=Set up b debug logging\n"}));
}

class ProcessHolkaz : public CloudAndAuthorization {};

TEST_F(ProcessHolkaz, WritesKeyAndDefaultInQuotationMarks) {
    EXPECT_EQ(process_holkaz("HOLKAZ", {"az"}, responses_), 0);
    EXPECT_EQ(read_file(authorization_file), "\"DebugLevel\"=\"6\"\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=HOLKAZ:az STATUS=0 MSG=Set up az debug logging\n"}));
}

TEST_F(ProcessHolkaz, WritesALevelExactlyAsItWasSent) {
    process_holkaz("HOLKAZ", {"az=4"}, responses_);
    EXPECT_EQ(read_file(authorization_file), "\"DebugLevel\"=4\n");
    process_holkaz("HOLKAZ", {"az=\"4\""}, responses_);
    EXPECT_EQ(read_file(authorization_file), "\"DebugLevel\"=\"4\"\n");
}

TEST_F(ProcessHolkaz, ReportsAndReturnsAFailure) {
    remove_tree(authorization_file);
    EXPECT_EQ(process_holkaz("HOLKAZ", {"az"}, responses_), 5803);
    EXPECT_EQ(responses_, (Responses{"PROCESS=HOLKAZ:az STATUS=5803 MSG=Could not open file " + authorization_file +
                                     " E=2 (No such file or directory)\n"}));
}

TEST_F(ProcessHolkaz, AppliesTheOtherValuesAfterAFailureAndReturnsItsStatus) {
    refuse_the_first_rename();
    EXPECT_EQ(process_holkaz("HOLKAZ", {"a", "b=2"}, responses_), 5803);
    EXPECT_EQ(read_file(authorization_file), "\"DebugLevel\"=2\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=HOLKAZ:a STATUS=5803 MSG=" + refused_rename_of(authorization_file),
                                     "PROCESS=HOLKAZ:b STATUS=0 MSG=Set up b debug logging\n"}));
}

TEST_F(CloudAndAuthorization, WriteALevelOfAnyLength) {
    const std::string level(2030, '7');
    EXPECT_EQ(process_cloud("CLOUD", {"a=" + level}, responses_), 0);
    EXPECT_EQ(read_file(container_file), "SHCT_LOG_LEVEL=" + level + "\n");
}

TEST_F(CloudAndAuthorization, DoNothingWithoutAValue) {
    EXPECT_EQ(process_corvid("CORVID", {}, responses_), 0);
    EXPECT_EQ(process_cloud("CLOUD", {}, responses_), 0);
    EXPECT_EQ(process_holkaz("HOLKAZ", {}, responses_), 0);
    EXPECT_EQ(responses_, Responses{});
    EXPECT_EQ(recording_platform::messages(), Lines{});
}

TEST_F(CloudAndAuthorization, PassTheCategoryOn) {
    process_corvid("one", {"a"}, responses_);
    process_cloud("two", {"a"}, responses_);
    process_holkaz("three", {"a"}, responses_);
    EXPECT_EQ(responses_, (Responses{"PROCESS=one:a STATUS=0 MSG=Set up a debug logging\n",
                                     "PROCESS=two:a STATUS=0 MSG=Set up a debug logging\n",
                                     "PROCESS=three:a STATUS=0 MSG=Set up a debug logging\n"}));
}

}  // namespace
