#include "ZebChl.hpp"

#include "support/checks.hpp"
#include "support/faulty_steps.hpp"
#include "support/page_end.hpp"

namespace {

using namespace support;

TEST(ChannelPeerName, IsCheckedBeforeItIsCounted) {
    const PageEnd endless(std::string_view("xyz"));
    ZebChl channel;
    Recording recording;
    recording.refuseAddress(endless.data());
    EXPECT_FALSE(channel.setSslPeerName(endless.data()));
    EXPECT_EQ(codes(channel), "2:2145");
    EXPECT_EQ(told(channel.sslPeerName()), "-/0 0:0");
}

TEST(ChannelWalk, FollowsTheModelWhateverFails) {
    walkUnderFaults(20, 10000);
}

}
