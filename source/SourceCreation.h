#pragma once

#include "source/NDISource.h"

// The body of a creation job: makes the media source, which waits for its sender, and a topology node for each wanted
// stream. Runs on a pool thread and touches nothing but its parameters. Failures are told in the result; a cancelled
// search is HRESULT_FROM_WIN32(ERROR_CANCELLED).
NDISource::AsyncSourceCreationResult createSourceJob(const SourceParameters &params);
