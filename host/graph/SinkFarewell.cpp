#include "host/graph/SinkFarewell.h"

#include "host/pipeline/Later.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace host
{

namespace
{

constexpr unsigned MostPatience = 1000; // milliseconds
constexpr std::chrono::milliseconds LookInterval{2};

struct Farewells {
    std::mutex lock;
    std::condition_variable changed;
    int count = 0; // guarded by lock
};

Farewells &farewells()
{
    // Never destroyed: a farewell may outlast the end of main.
    static Farewells &all = *std::make_unique<Farewells>().release();
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

void giveUp(const Sinks &sinks)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(MostPatience);
    for (const CComPtr<IMFMediaSink> &sink : sinks)
        sink->Shutdown();
    for (const CComPtr<IMFMediaSink> &sink : sinks) {
        while (!isOnlyReference(sink) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(LookInterval);
    }
}

} // namespace

void sayFarewell(std::vector<CComPtr<IMFMediaSink>> sinks, std::function<void()> done)
{
    addFarewell(1);
    const auto callDone = [done = std::move(done), isDone = std::make_shared<std::atomic<bool>>(false)] {
        if (!isDone->exchange(true))
            done();
    };
    runLater(MostPatience, callDone);
    const auto leave = [given = std::make_shared<Sinks>(std::move(sinks)), callDone] {
        giveUp(std::exchange(*given, {}));
        callDone();
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
