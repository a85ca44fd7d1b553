#pragma once

#include "hostfw/Export.h"

#include <mfobjects.h>

#include <functional>

namespace tvx
{

// Pools of reusable samples. A sample popped from a pool comes back to it when its last reference goes, on whatever
// thread that happens, with its attributes, time, duration and flags cleared. A buffer that a consumer holds longer
// than its sample is not used again until it is let go, and one that was taken out of its sample is put back.
// Thread-safe.
//
// The pool keeps at most `count` idle samples; when all are in use it makes another one rather than stop the stream, so
// a steady stream whose consumer holds up to `count` samples allocates nothing. Samples may outlive their pool; they
// are then freed like any other. Owned by whoever asked for the pool.

// All samples alike, as the factory makes them.
class ISamplePoolFixed
{
public:
    virtual ~ISamplePoolFixed() = default;
    // A sample with one reference for the caller. The factory's failure is passed on.
    virtual HRESULT Pop(IMFSample **sample) = 0;
    // Frees the idle samples and forgets those in use: the next Pop makes a sample anew.
    virtual HRESULT Reset() = 0;
};

// Samples with one memory buffer of the size asked for.
class ISamplePoolFlexible
{
public:
    virtual ~ISamplePoolFlexible() = default;
    // A sample with one reference for the caller, whose buffer holds at least `size` bytes; the buffer's current length
    // is 0. A recycled buffer that is too small is replaced.
    virtual HRESULT Pop(IMFSample **sample, DWORD size) = 0;
    virtual HRESULT Reset() = 0;
};

// `owner` names the object the samples belong to; it is not referenced (pools are made in constructors).
// `allocator`, where given, is asked before a new sample is made; its failure is Pop's.
// Never null; throws std::bad_alloc when memory is out.
MULTIMEDIA_EXPORT ISamplePoolFlexible *createFlexibleSamplePool(IUnknown *owner, std::function<HRESULT()> &&allocator,
                                                                DWORD count);
MULTIMEDIA_EXPORT ISamplePoolFixed *createFixedSizeSamplePool(IUnknown *owner, std::function<HRESULT()> &&allocator,
                                                              std::function<HRESULT(IMFSample **)> &&factory,
                                                              DWORD count);

} // namespace tvx
