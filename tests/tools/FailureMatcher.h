#pragma once

#include "ndi/tools/common/Failure.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace nditools
{

// Runs the action, which must end with a Failure of that code whose text holds every one of those words.
template <class Action>
void expectFailure(ExitCode code, const std::vector<std::string> &words, Action action)
{
    try {
        action();
        ADD_FAILURE() << "no failure";
    } catch (const Failure &failure) {
        EXPECT_EQ(static_cast<int>(failure.code()), static_cast<int>(code)) << failure.what();
        for (const std::string &word : words)
            EXPECT_THAT(failure.what(), testing::HasSubstr(word));
    }
}

} // namespace nditools
