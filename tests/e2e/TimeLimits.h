#pragma once

// Milliseconds within which a scene closes. A sanitizer takes its multiple, and the address sanitizer looks for leaks
// as a program ends.
constexpr int ClosingLimit = TAVRIN_IS_SANITIZED ? 10000 : 1000;

// Milliseconds in which anything at all has to have come about, on a machine that has much else to do.
constexpr int Patience = 60000;
