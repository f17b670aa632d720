#include "ZebChl.hpp"

#include "support/checks.hpp"
#include "support/faulty_steps.hpp"
#include "support/page_end.hpp"

namespace {

using namespace support;

struct Channel : ZebChl {
    std::string image() const { return {reinterpret_cast<const char *>(ZBCD()), sizeof(::ZBCD)}; }
};

TEST(ChannelPeerName, IsCheckedBeforeItIsCounted) {
    const PageEnd endless(std::string_view("xyz"));
    Channel channel;
    Recording recording;
    recording.refuseAddress(endless.data());
    EXPECT_FALSE(channel.setSslPeerName(endless.data()));
    EXPECT_EQ(codes(channel), "2:2145");
    EXPECT_EQ(channel.image(), Channel().image());
}

TEST(ChannelWalk, FollowsTheModelWhateverFails) {
    walkUnderFaults(20, 10000);
}

}
