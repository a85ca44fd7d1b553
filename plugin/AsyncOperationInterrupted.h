#pragma once

#include <exception>

// Leaves the asynchronous creation of a source or sink that nobody waits for any more.
class AsyncOperationInterrupted : public std::exception
{
};
