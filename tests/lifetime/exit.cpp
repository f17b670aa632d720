// Exits while objects of the library live: static ones, which are destroyed when main has long
// returned, one of a thread, and some that nobody destroys. Prints what the last of them still
// does.
#include "zebbase.hpp"

#include <cstdio>
#include <cstring>
#include <thread>

namespace {

struct Last {
    ~Last() {
        char field[8];
        if (text.copyOut(field, sizeof field, '.') && message.writeItem(text) &&
            channel.setSendExitName("exit") && std::memcmp(field, "last....", sizeof field) == 0) {
            std::puts("all of use to the last");
        }
    }
    ZebStr text{"last"};
    ZebMsg message;
    ZebChl channel;
};

Last last;
thread_local ZebStr ofThread("thread");

}

int main() {
    std::thread([] { ofThread += "ed"; }).join();
    ofThread += "ed";
    static ZebMsg * const neverDestroyed = new ZebMsg;
    return neverDestroyed->write(4, "data") ? 0 : 1;
}
