#pragma once

// The most that is read of a picture's size and rate, of files and of options.

namespace ndisend
{

constexpr int LargestSide = 16384;  // pixels
constexpr int MostRate = 1'000'000; // numerator and denominator

} // namespace ndisend
