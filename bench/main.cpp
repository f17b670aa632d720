#include "forms.hpp"

#include <malloc.h>

int main(int argc, char ** argv) {
    // Blocks go to and fro inside the process. Handing them back to the system would cost more than
    // most of what is measured, and whether it happens depends on what was measured before.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TOP_PAD, 64 << 20);

    bench::registerFloor();
    bench::registerZebbase();
    bench::registerProtobuf();
    bench::registerFlatBuffers();
    bench::registerCapnProto();
    bench::registerMessagePack();
    bench::registerZeroMq();
    bench::registerProton();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    return benchmark::RunSpecifiedBenchmarks() != 0 ? 0 : 1;
}
