#pragma once

#include "hostfw/ComPtr.h"

#include <mfapi.h>
#include <mfobjects.h>
#include <propidl.h>

namespace host
{

// An event's value for the object's lifetime; empty when the event carries none.
class EventValue
{
public:
    explicit EventValue(IMFMediaEvent *event)
    {
        PropVariantInit(&m_value);
        event->GetValue(&m_value);
    }
    EventValue(const EventValue &) = delete;
    EventValue &operator=(const EventValue &) = delete;
    ~EventValue() { PropVariantClear(&m_value); }

    const PROPVARIANT &get() const { return m_value; }

private:
    PROPVARIANT m_value;
};

// The object that the event carries, or null when it carries none with that interface.
template <typename Interface>
CComPtr<Interface> eventObject(IMFMediaEvent *event)
{
    const EventValue value(event);
    CComPtr<Interface> object;
    if (value.get().vt == VT_UNKNOWN && value.get().punkVal)
        value.get().punkVal->QueryInterface(__uuidof(Interface), reinterpret_cast<void **>(&object));
    return object;
}

} // namespace host
