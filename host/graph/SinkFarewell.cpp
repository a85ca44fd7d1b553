#include "host/graph/SinkFarewell.h"

#include "host/pipeline/Later.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace host
{

namespace
{

constexpr std::chrono::milliseconds MostPatience{1000};
constexpr std::chrono::milliseconds LookInterval{2};

struct Farewells {
    std::mutex lock;
    std::condition_variable changed;
    int count = 0; // guarded by lock
};

Farewells &farewells()
{
    static Farewells all;
    return all;
}

void addFarewell(int change)
{
    Farewells &all = farewells();
    const std::lock_guard<std::mutex> guard(all.lock);
    all.count += change;
    all.changed.notify_all();
}

bool isOnlyReference(const CComPtr<IMFMediaSink> &sink)
{
    sink.p->AddRef();
    return sink.p->Release() == 1;
}

using Sinks = std::vector<CComPtr<IMFMediaSink>>;

void giveUp(Sinks sinks)
{
    for (const CComPtr<IMFMediaSink> &sink : sinks)
        sink->Shutdown();
    const auto deadline = std::chrono::steady_clock::now() + MostPatience;
    for (const CComPtr<IMFMediaSink> &sink : sinks) {
        while (!isOnlyReference(sink) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(LookInterval);
    }
}

} // namespace

void sayFarewell(std::vector<CComPtr<IMFMediaSink>> sinks, std::function<void()> done)
{
    addFarewell(1);
    const auto leave = [given = std::make_shared<Sinks>(std::move(sinks)), done = std::move(done)] {
        giveUp(std::exchange(*given, {}));
        done();
        addFarewell(-1);
    };
    if (FAILED(runAside(leave)))
        leave();
}

bool waitForFarewells(std::chrono::milliseconds patience)
{
    Farewells &all = farewells();
    std::unique_lock<std::mutex> guard(all.lock);
    return all.changed.wait_for(guard, patience, [&all] { return all.count == 0; });
}

} // namespace host
