// Sequences of operations on two channels, each against a plain model of what it holds.
#include "fuzz/input.hpp"
#include "zebbase.hpp"

#include <array>
#include <iterator>
#include <vector>

namespace {

struct Channel : ZebChl {
    const ::ZBCD & record() const { return *ZebChl::ZBCD(); }
};

struct Field {
    bool (ZebChl::*set)(const char *);
    ZebStr (ZebChl::*get)() const;
    std::size_t width;
};
const Field fields[] = {
    {&ZebChl::setChannelName, &ZebChl::channelName, 20},
    {&ZebChl::setConnectionName, &ZebChl::connectionName, 264},
    {&ZebChl::setLocalAddress, &ZebChl::localAddress, 48},
    {&ZebChl::setModeName, &ZebChl::modeName, 8},
    {&ZebChl::setPassword, &ZebChl::password, 12},
    {&ZebChl::setSecurityExitName, &ZebChl::securityExitName, 128},
    {&ZebChl::setSecurityUserData, &ZebChl::securityUserData, 32},
    {&ZebChl::setSslCipherSpecification, &ZebChl::sslCipherSpecification, 32},
    {&ZebChl::setTransactionProgramName, &ZebChl::transactionProgramName, 64},
    {&ZebChl::setUserId, &ZebChl::userId, 12},
    {&ZebChl::setSslPeerName, &ZebChl::sslPeerName, 1 << 20},
};

using Names = bool (ZebChl::*)(std::size_t, const char * const[]);
using Readers = bool (ZebChl::*)(std::size_t, ZebStr * const[]);
constexpr Names setNames[] = {&ZebChl::setSendExitNames, &ZebChl::setReceiveExitNames};
constexpr Names setData[] = {&ZebChl::setSendUserData, &ZebChl::setReceiveUserData};
constexpr Readers names[] = {&ZebChl::sendExitNames, &ZebChl::receiveExitNames};
constexpr Readers data[] = {&ZebChl::sendUserData, &ZebChl::receiveUserData};

struct Model : Codes {
    std::array<std::string, std::size(fields)> texts;
    std::array<std::vector<std::pair<std::string, std::string>>, 2> exits;
    std::vector<std::int32_t> compression;

    std::string cut(const std::string & text, std::size_t width) {
        return text.size() <= width || report(ZBRC_DATA_TRUNCATED, ZBCC_WARNING)
                   ? text.substr(0, width)
                   : text;
    }
    void check(Channel & channel) const {
        CHECK(areThoseOf(channel));
        for (std::size_t i = 0; i != texts.size(); ++i) {
            const ZebStr text = (channel.*fields[i].get)();
            ZebStr expected(texts[i].c_str());
            expected.stripTrailing(' ');
            CHECK(expected.compare(text) == 0);
        }
        CHECK(channel.sendExitCount() == exits[0].size());
        CHECK(channel.receiveExitCount() == exits[1].size());
        for (std::size_t list = 0; list != 2; ++list) {
            std::vector<ZebStr> read(2 * (exits[list].size() + 1), ZebStr("stale"));
            std::vector<ZebStr *> entries;
            for (ZebStr & string : read) {
                entries.push_back(&string);
            }
            const std::size_t count = exits[list].size() + 1; // one more than there are
            CHECK((channel.*names[list])(count, entries.data()));
            CHECK((channel.*data[list])(count, entries.data() + count));
            for (std::size_t i = 0; i != count; ++i) {
                const auto & [name, datum] =
                    i + 1 != count ? exits[list][i] : std::pair<std::string, std::string>();
                CHECK(read[i].compare(name.c_str()) == 0 &&
                      read[count + i].compare(datum.c_str()) == 0);
            }
        }
        std::array<std::int32_t, 16> list{};
        CHECK(channel.messageCompression(16, list.data()));
        for (std::size_t i = 0; i != 16; ++i) {
            CHECK(list[i] == (i < compression.size() ? compression[i] : -1));
        }
    }
};

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, std::size_t size) {
    Input input(bytes, size);
    std::array<Channel, 2> channels;
    std::array<Model, 2> models;
    while (!input.ended()) {
        const std::uint8_t operation = input.byte();
        Channel & channel = channels[operation >> 7];
        Model & model = models[operation >> 7];
        const std::size_t list = operation >> 6 & 1;
        switch (operation % 8) {
        default: {
            const std::size_t i = input.byte() % std::size(fields);
            const std::string text = input.text(255);
            CHECK((channel.*fields[i].set)(text.c_str()));
            if (i == 1) {
                model.cut(text, 20); // the short field in front of it
            }
            model.texts[i] = model.cut(text, fields[i].width);
            break;
        }
        case 1:
        case 2: {
            std::vector<std::string> texts(input.byte() % 6);
            std::vector<const char *> pointers;
            for (std::string & text : texts) {
                text = input.text(255);
                pointers.push_back(text == "~" ? nullptr : text.c_str());
            }
            const bool setsNames = operation % 8 == 1;
            auto & exits = model.exits[list];
            bool expected = true;
            if (setsNames) {
                for (std::size_t i = 0; expected && i != texts.size(); ++i) {
                    expected = pointers[i] == nullptr ? model.report(ZBRC_NULL_POINTER)
                               : texts[i].empty()     ? model.report(ZBRC_DATA_LENGTH_ERROR)
                                                      : true;
                }
                if (expected) {
                    exits.assign(texts.size(), {});
                    for (std::size_t i = 0; i != texts.size(); ++i) {
                        exits[i].first = model.cut(texts[i], 128);
                    }
                }
            } else if (texts.size() > exits.size()) {
                expected = model.report(ZBRC_USER_DATA_COUNT_ERROR);
            } else {
                for (std::size_t i = 0; i != exits.size(); ++i) {
                    exits[i].second =
                        i < texts.size() && pointers[i] != nullptr ? model.cut(texts[i], 32) : "";
                }
            }
            CHECK((channel.*(setsNames ? setNames : setData)[list])(texts.size(),
                                                                    pointers.data()) == expected);
            break;
        }
        case 3: {
            std::vector<std::int32_t> values(input.byte() % 20);
            for (std::int32_t & value : values) {
                value = static_cast<std::int8_t>(input.byte());
            }
            CHECK(channel.setMessageCompression(values.size(), values.data()));
            values.resize(std::min<std::size_t>(values.size(), 16));
            model.compression = values;
            break;
        }
        case 4: {
            channel = channels[list];
            model = Model(models[list]);
            Channel copied(channel);
            model.check(copied);
            CHECK(channels[0].record().sendExitNameArray == nullptr ||
                  channels[0].record().sendExitNameArray != channels[1].record().sendExitNameArray);
            break;
        }
        }
        models[0].check(channels[0]);
        models[1].check(channels[1]);
    }
    return 0;
}
