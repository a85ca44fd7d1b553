#pragma once

#include "tests/platform/AsyncSupport.h"

#include <string>

#ifndef PRESENTATION_CURRENT_POSITION // not every edition of mfidl.h has it
#define PRESENTATION_CURRENT_POSITION 0x7fffffffffffffff
#endif

// Writes down what it hears, under its name.
class RecordingSink final : public TestObject<IMFClockStateSink>
{
public:
    RecordingSink(Record<std::string> &record, std::string name) : m_record(record), m_name(std::move(name)) {}

    STDMETHODIMP OnClockStart(MFTIME, LONGLONG offset) override
    {
        return note(offset == PRESENTATION_CURRENT_POSITION ? "start" : "start " + std::to_string(offset));
    }
    STDMETHODIMP OnClockStop(MFTIME) override { return note("stop"); }
    STDMETHODIMP OnClockPause(MFTIME) override { return note("pause"); }
    STDMETHODIMP OnClockRestart(MFTIME) override { return note("restart"); }
    STDMETHODIMP OnClockSetRate(MFTIME, float rate) override { return note("rate " + std::to_string(rate)); }

private:
    HRESULT note(const std::string &what)
    {
        m_record.add(m_name + ": " + what);
        return S_OK;
    }

    Record<std::string> &m_record;
    const std::string m_name;
};
