#ifndef BENCH_FORMS_HPP
#define BENCH_FORMS_HPP

#include "letter.hpp"

#include <benchmark/benchmark.h>
#include <cstdint>

/// Wrapping and unwrapping in one form of a letter. A form is a class with
///
///     explicit Form(const std::string & body);
///     void wrap();                    // names and body become bytes in one block
///     template <class Take>
///     void unwrap(Take take);         // the bytes become texts, handed to `take` with the body
///     static std::string_view viewOf(const Text & text); // of a text as `take` gets it
///
/// `take` gets the six texts in the order of Names, then a view of the body where it lies. Both
/// operations may be called any number of times in turn. A form that wraps in place may take what
/// lies there as the body from the second wrap on: the same number of bytes.

namespace bench {

/// For forms whose texts can be viewed as they are.
struct PlainTexts {
    static std::string_view viewOf(std::string_view text) { return text; }
};

/// What hinders the form from being measured, or null: a form that loses something is no peer.
template <class Form> const char * faultOf(const std::string & body) {
    Form form(body);
    bool namesSame = false;
    bool bodySame = false;
    const auto compare = [&](const auto & queue, const auto & queueManager,
                             const auto & application, const auto & date, const auto & time,
                             const auto & format, std::string_view bodyFound) {
        namesSame = Form::viewOf(queue) == names.destinationQueueName.view() &&
                    Form::viewOf(queueManager) == names.destinationQueueManagerName.view() &&
                    Form::viewOf(application) == names.putApplicationName.view() &&
                    Form::viewOf(date) == names.putDate.view() &&
                    Form::viewOf(time) == names.putTime.view() &&
                    Form::viewOf(format) == names.format.view();
        bodySame = bodyFound == body;
    };
    form.wrap();
    form.unwrap(compare);
    if (!bodySame) {
        return "the body that came out is not the one that went in";
    }
    for (int round = 0; round < 3; ++round) {
        if (!namesSame) {
            return "the names that came out are not those that went in";
        }
        namesSame = false;
        form.wrap();
        form.unwrap(compare);
    }
    return nullptr;
}

/// Keeps the compiler from leaving out what makes the texts.
struct KeepAll {
    template <class... Texts> void operator()(const Texts &... texts) const {
        (benchmark::DoNotOptimize(texts), ...);
    }
};

template <class Form> void measureWrap(benchmark::State & state, std::size_t size) {
    const std::string body = makeBody(size);
    if (const char * fault = faultOf<Form>(body)) {
        state.SkipWithError(fault);
        return;
    }
    Form form(body);
    for (auto _ : state) {
        form.wrap();
        benchmark::ClobberMemory();
    }
}

template <class Form> void measureUnwrap(benchmark::State & state, std::size_t size) {
    Form form(makeBody(size));
    form.wrap();
    for (auto _ : state) {
        form.unwrap(KeepAll{});
        benchmark::ClobberMemory();
    }
}

template <class Form> void measureRoundTrip(benchmark::State & state, std::size_t size) {
    Form form(makeBody(size));
    for (auto _ : state) {
        form.wrap();
        benchmark::ClobberMemory();
        form.unwrap(KeepAll{});
        benchmark::ClobberMemory();
    }
}

/// Registers wrap/NAME/SIZE, unwrap/NAME/SIZE and round_trip/NAME/SIZE for every size of a body.
template <class Form> void registerForm(const std::string & name) {
    for (const std::size_t size : bodySizes) {
        const std::string tail = "/" + name + "/" + std::to_string(size);
        benchmark::RegisterBenchmark(("wrap" + tail).c_str(), measureWrap<Form>, size);
        benchmark::RegisterBenchmark(("unwrap" + tail).c_str(), measureUnwrap<Form>, size);
        benchmark::RegisterBenchmark(("round_trip" + tail).c_str(), measureRoundTrip<Form>, size);
    }
}

/// Has the time told for one append instead of for the filling of a whole buffer.
inline void perAppend(benchmark::State & state, std::size_t count) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

// Each source registers what it measures.
void registerFloor();
void registerZebbase();
void registerProtobuf();
void registerFlatBuffers();
void registerCapnProto();
void registerMessagePack();
void registerZeroMq();
void registerProton();

} // namespace bench

#endif
