#include "host/source/TestPattern.h"

#include "host/Log.h"
#include "host/source/PatternSource.h"
#include "hostfw/ComException.h"
#include "hostfw/Topology.h"

#include <mfapi.h>
#include <mferror.h>

#include <algorithm>
#include <cmath>

namespace host
{

namespace
{

struct NamedSubtype {
    const char *name;
    const GUID *subtype;
};
const NamedSubtype Subtypes[] = {{"UYVY", &MFVideoFormat_UYVY},   {"YUY2", &MFVideoFormat_YUY2},
                                 {"RGB32", &MFVideoFormat_RGB32}, {"ARGB32", &MFVideoFormat_ARGB32},
                                 {"BGRX", &MFVideoFormat_RGB32},  {"BGRA", &MFVideoFormat_ARGB32}};

constexpr int MostPixels = 16384; // in a line, or lines
constexpr int MostChannels = 64;

bool isValid(const PatternSettings &settings)
{
    const auto within = [](int value, int low, int high) { return value >= low && value <= high; };
    return within(settings.width, 2, MostPixels) && settings.width % 2 == 0 && within(settings.height, 1, MostPixels) &&
           settings.rateNumerator > 0 && settings.rateDenominator > 0 && within(settings.sampleRate, 1000, 768000) &&
           within(settings.channels, 1, MostChannels) && settings.frames >= 0 && settings.subtype.Data1 != 0;
}

} // namespace

TestPattern::TestPattern()
{
    m_settings.subtype = MFVideoFormat_UYVY;
    setOutputCount(2);
}

TestPattern::~TestPattern() = default;

template <typename Field, typename Value>
void TestPattern::change(Field &field, const Value &value)
{
    if (field == static_cast<Field>(value))
        return;
    field = static_cast<Field>(value);
    requestCreate();
    Q_EMIT settingsChanged();
}

void TestPattern::setWidth(int width)
{
    change(m_settings.width, width);
}

void TestPattern::setHeight(int height)
{
    change(m_settings.height, height);
}

double TestPattern::fps() const
{
    return static_cast<double>(m_settings.rateNumerator) / m_settings.rateDenominator;
}

void TestPattern::setFps(double fps)
{
    // Rates just below a whole number are those of NTSC: 1000/1001 of it.
    const double above = std::ceil(fps);
    const bool ntsc = above > fps && std::abs(above * 1000.0 / 1001.0 - fps) < 0.005;
    const int denominator = ntsc ? 1001 : (fps == std::floor(fps) ? 1 : 1000);
    const int numerator = static_cast<int>(ntsc ? above * 1000.0 : static_cast<double>(std::lround(fps * denominator)));
    if (numerator == m_settings.rateNumerator && denominator == m_settings.rateDenominator)
        return;
    m_settings.rateNumerator = numerator;
    m_settings.rateDenominator = denominator;
    requestCreate();
    Q_EMIT settingsChanged();
}

QString TestPattern::subtype() const
{
    for (const NamedSubtype &known : Subtypes) {
        if (IsEqualGUID(*known.subtype, m_settings.subtype))
            return QLatin1String(known.name);
    }
    return {};
}

void TestPattern::setSubtype(const QString &name)
{
    const auto *const known = std::find_if(std::begin(Subtypes), std::end(Subtypes), [&name](const NamedSubtype &row) {
        return name == QLatin1String(row.name);
    });
    if (known == std::end(Subtypes))
        qCWarning(lcHost) << "TestPattern: there is no subtype" << name;
    change(m_settings.subtype, known == std::end(Subtypes) ? GUID_NULL : *known->subtype);
}

void TestPattern::setSampleRate(int rate)
{
    change(m_settings.sampleRate, rate);
}

void TestPattern::setChannels(int channels)
{
    change(m_settings.channels, channels);
}

void TestPattern::setPaced(bool paced)
{
    change(m_settings.paced, paced);
}

void TestPattern::setFrames(int frames)
{
    change(m_settings.frames, frames);
}

void TestPattern::destroyMediaObjects()
{
    m_source.Release();
    setStatus(Idle);
}

void TestPattern::createMediaObjects()
{
    setStatus(Creating);
    const HRESULT hr = create();
    if (FAILED(hr)) {
        qCCritical(lcHost, "TestPattern: cannot make its source (0x%08X)", static_cast<unsigned>(hr));
        return setStatus(Error);
    }
    setStatus(Created);
}

HRESULT TestPattern::create()
{
    if (!isValid(m_settings))
        return MF_E_INVALIDMEDIATYPE;
    try {
        HRESULT hr = PatternSource::create(m_settings, &m_source);
        if (FAILED(hr))
            return hr;
        const CComPtr<IMFPresentationDescriptor> descriptor = getCleanPresentationDescriptor(m_source);
        hr = createSourceNode(descriptor, videoOutput(), MFMediaType_Video);
        return FAILED(hr) ? hr : createSourceNode(descriptor, audioOutput(), MFMediaType_Audio);
    } catch (const ComException &exception) {
        return exception.getErrorCode();
    }
}

HRESULT TestPattern::createSourceNode(IMFPresentationDescriptor *descriptor, NodeOutput *output, const GUID &majorType)
{
    DWORD streamIndex = 0;
    const CComPtr<IMFTopologyNode> node = createMediaSourceNode(m_source, descriptor, majorType, &streamIndex);
    if (!node)
        return E_UNEXPECTED;
    addMfNode(node);
    output->setMfNode(node, 0);
    return S_OK;
}

} // namespace host
