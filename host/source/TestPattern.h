#pragma once

#include "host/source/PatternSettings.h"

#include "hostfw/ComPtr.h"
#include "hostfw/MediaNode.h"

#include <mfidl.h>

namespace host
{

// A source node: the moving test picture on its video output, the test tone on its audio output. Writing a property of
// a running pattern starts it anew. Lives on the QML thread.
class TestPattern : public MediaNode
{
    Q_OBJECT
    Q_PROPERTY(int width READ width WRITE setWidth NOTIFY settingsChanged)
    Q_PROPERTY(int height READ height WRITE setHeight NOTIFY settingsChanged)
    // Frames per second; 23.976, 29.97 and 59.94 stand for the exact NTSC rates.
    Q_PROPERTY(double fps READ fps WRITE setFps NOTIFY settingsChanged)
    // "UYVY", "YUY2", "RGB32" or "ARGB32"; "BGRX" and "BGRA" are other names of the latter two.
    Q_PROPERTY(QString subtype READ subtype WRITE setSubtype NOTIFY settingsChanged)
    Q_PROPERTY(int sampleRate READ sampleRate WRITE setSampleRate NOTIFY settingsChanged)
    Q_PROPERTY(int channels READ channels WRITE setChannels NOTIFY settingsChanged)
    // True: frames as time goes by, as from a camera. False: as fast as they are taken.
    Q_PROPERTY(bool paced READ isPaced WRITE setPaced NOTIFY settingsChanged)
    // Frames until the pattern ends, after which the graph starts it anew; 0: it does not end.
    Q_PROPERTY(int frames READ frames WRITE setFrames NOTIFY settingsChanged)
    Q_PROPERTY(NodeOutput *videoOutput READ videoOutput CONSTANT)
    Q_PROPERTY(NodeOutput *audioOutput READ audioOutput CONSTANT)

public:
    TestPattern();
    ~TestPattern() override;

    int width() const { return m_settings.width; }
    void setWidth(int width);
    int height() const { return m_settings.height; }
    void setHeight(int height);
    double fps() const;
    void setFps(double fps);
    QString subtype() const;
    void setSubtype(const QString &name);
    int sampleRate() const { return m_settings.sampleRate; }
    void setSampleRate(int rate);
    int channels() const { return m_settings.channels; }
    void setChannels(int channels);
    bool isPaced() const { return m_settings.paced; }
    void setPaced(bool paced);
    int frames() const { return static_cast<int>(m_settings.frames); }
    void setFrames(int frames);
    NodeOutput *videoOutput() const { return getOutput(0); }
    NodeOutput *audioOutput() const { return getOutput(1); }

    void destroyMediaObjects() override;
    void createMediaObjects() override;

Q_SIGNALS:
    void settingsChanged();

private:
    // Stores the value and asks for the source to be made anew, if the value is another one.
    template <typename Field, typename Value>
    void change(Field &field, const Value &value);
    HRESULT create();
    HRESULT createSourceNode(IMFPresentationDescriptor *descriptor, NodeOutput *output, const GUID &majorType);

    PatternSettings m_settings;
    CComPtr<IMFMediaSource> m_source;
};

} // namespace host
