#pragma once

// How a stream of the test pattern arrives: how often, how late, and by how much the picture behind the sound.

#include "tests/e2e/TestReceiver.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <ostream>

struct Arrivals {
    double pictures = 0;   // a second
    double pieces = 0;     // of sound, likewise
    double latencyMs = 0;  // the median, from the time in the pictures' code
    double avOffsetMs = 0; // the medians' difference, positive when the picture is later; 0 without sound
};

std::ostream &operator<<(std::ostream &stream, const Arrivals &arrivals);

// Of as long a window from a time on (see pattern::steadyNowHns()). Waits until it has gone by; fails the test when no
// picture comes. The receiver has to keep as much.
Arrivals arrivalsFrom(const TestReceiver &receiver, std::int64_t from, double seconds);

// Whether that holds in two windows one after the other, of five from a time on: a machine that has much else to do is
// late now and then, but not all the time. A sink that was given too much stays as late as it is, or gets later.
testing::AssertionResult arrives(const TestReceiver &receiver, std::int64_t from, double seconds,
                                 const std::function<bool(const Arrivals &)> &asItShould);

std::int64_t secondsFromNow(double seconds);
