#include "host/AEPluginConnection.h"

#include "host/FakeHost.h"
#include "host/HostMemory.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

// The plug-in's object without a core: what happens to sequence data before global set-up has a driver.
class SequenceCommands : public ::testing::Test {
protected:
    PF_Err Send(PF_Cmd command) {
        const PF_Err error = connection.Dispatch(command, &host.in, &host.out, nullptr, nullptr);
        EXPECT_EQ(host.in.sequence_data, host.out.sequence_data);
        return error;
    }
    SequenceRecord* Live() {
        const HandleLock lock(host.in.utils, host.in.sequence_data);
        return connection.liveRecords().Find(host.in.sequence_data, lock.memory(),
                                             host.BytesOf(host.in.sequence_data).size());
    }

    FakeHost host;
    AEPluginConnection connection;
};

TEST_F(SequenceCommands, LiveDataSurvivesFlatteningAndSettingUpAgain) {
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    ASSERT_NE(Live(), nullptr);
    EXPECT_EQ(host.BytesOf(host.in.sequence_data).size(), 11096u);
    Live()->state.nullLayerIds[2] = 42;
    Live()->nullCounter = 3;

    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_FLATTEN), PF_Err_NONE);
    EXPECT_EQ(Live(), nullptr);
    EXPECT_EQ(connection.liveRecords().size(), 0u);
    const std::vector<std::byte> flat = host.BytesOf(host.in.sequence_data);
    EXPECT_EQ(flat.size(), WriteSequence({}, 0, {}, nullptr, 0)); // exactly what it takes

    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_FLATTEN), PF_Err_NONE); // a second one changes nothing
    EXPECT_EQ(host.BytesOf(host.in.sequence_data), flat);

    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_RESETUP), PF_Err_NONE);
    ASSERT_NE(Live(), nullptr);
    EXPECT_EQ(Live()->state.nullLayerIds[2], 42);
    EXPECT_EQ(Live()->nullCounter, 0u); // not of the flat form
    EXPECT_FALSE(Live()->staleModels);

    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    EXPECT_EQ(host.in.sequence_data, nullptr);
    EXPECT_EQ(host.handles, 0u);
}

// The host may send re-set-up without a flatten before it: live data is not read as chunks.
TEST_F(SequenceCommands, SettingUpLiveDataAgainKeepsIt) {
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    const PF_Handle before = host.in.sequence_data;
    Live()->state.stateId = 5;
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_RESETUP), PF_Err_NONE);
    EXPECT_EQ(host.in.sequence_data, before);
    ASSERT_NE(Live(), nullptr);
    EXPECT_EQ(Live()->state.stateId, 5);
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    EXPECT_EQ(host.handles, 0u);
}

// Bytes of a live record in another handle, as a stored project could hold them, are data like any other.
TEST_F(SequenceCommands, CopiedBytesOfALiveRecordAreNotLive) {
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    const PF_Handle live = host.in.sequence_data;
    host.in.sequence_data = host.HandleOf(host.BytesOf(live));
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_RESETUP), PF_Err_NONE);
    ASSERT_NE(Live(), nullptr);
    EXPECT_EQ(Live()->state, SequenceState{});
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    host.in.sequence_data = live;
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    EXPECT_EQ(host.handles, 0u);
}

TEST_F(SequenceCommands, NothingStoredStaysNothing) {
    for (const PF_Cmd command : {PF_Cmd_SEQUENCE_FLATTEN, PF_Cmd_SEQUENCE_RESETUP, PF_Cmd_SEQUENCE_SETDOWN}) {
        host.in.sequence_data = nullptr;
        EXPECT_EQ(Send(command), PF_Err_NONE);
        EXPECT_EQ(host.in.sequence_data, nullptr);
    }
    host.in.sequence_data = host.NewHandle(0);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_RESETUP), PF_Err_NONE);
    EXPECT_EQ(host.in.sequence_data, nullptr);
    EXPECT_EQ(host.handles, 0u);
}

TEST_F(SequenceCommands, DataOfAnotherProcessMakesModelsStale) {
    std::vector<std::byte> flat(WriteSequence({}, 1234, {}, nullptr, 0));
    WriteSequence({}, 1234, {}, flat.data(), flat.size());
    host.in.sequence_data = host.HandleOf(flat);
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_RESETUP), PF_Err_NONE);
    EXPECT_TRUE(Live()->staleModels);
    EXPECT_TRUE(Live()->params->loadedModels.empty());
    ASSERT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
}

TEST_F(SequenceCommands, CommandsWithoutAnOperationDoNothing) {
    for (const PF_Cmd command : {2, 9, 10, 11, 12, 16, 19, 20, 21, 25, 28, 99, -1}) {
        EXPECT_EQ(Send(command), PF_Err_NONE) << command;
        EXPECT_EQ(host.out.return_msg[0], 0);
    }
}

} // namespace
} // namespace velorin
