#include "tools/ndi-probe/Probing.h"

#include "discovery/NDIProbe.h"
#include "format/MediaTypes.h"
#include "tools/ndi-probe/Failure.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QThread>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace ndiprobe
{

namespace
{

// From the first frame of one kind to the first of the other.
constexpr std::chrono::seconds OtherKindPatience{2};
// A run notices only between two frames that its time has passed.
constexpr std::chrono::seconds FrameAllowance{1};

struct ReceiverDeleter {
    void operator()(NDIlib_recv_instance_t receiver) const { NDIlib_recv_destroy(receiver); }
};
using Receiver = std::unique_ptr<std::remove_pointer_t<NDIlib_recv_instance_t>, ReceiverDeleter>;

Receiver connectTo(const nditools::FoundSender &sender)
{
    const QByteArray name = sender.name.toUtf8();
    const QByteArray address = sender.address.toUtf8();
    NDIlib_recv_create_t settings;
    settings.source_to_connect_to.p_ndi_name = name.constData();
    settings.source_to_connect_to.p_url_address = address.constData();
    // Pictures with alpha come as BGRA, which the module has a media type for.
    settings.color_format = NDIlib_recv_color_format_UYVY_BGRA;
    Receiver receiver(NDIlib_recv_create_v2(&settings));
    if (!receiver)
        throw Failure(ExitCode::NoRuntime, QStringLiteral("the NDI runtime makes no receiver"));
    return receiver;
}

// A thread for one run, which blocks.
std::unique_ptr<QThread> threadFor(NDIProbe &probe)
{
    return std::unique_ptr<QThread>(QThread::create([&probe] {
        const HnsTime howLong = HnsTime::seconds(OtherKindPatience.count());
        QMetaObject::invokeMethod(&probe, "doProbe", Qt::DirectConnection, Q_ARG(HnsTime, howLong));
    }));
}

[[noreturn]] void leave(const nditools::FoundSender &sender)
{
    std::fprintf(stderr, "ndi-probe: '%s' is on the network, but delivers nothing\n", qPrintable(sender.name));
    std::_Exit(static_cast<int>(ExitCode::NothingDelivered));
}

bool hasFrameMetadata(IMFMediaType *type)
{
    UINT32 value = 0;
    return SUCCEEDED(type->GetUINT32(NDI_MT_HAS_FRAME_METADATA, &value)) && value != 0;
}

std::optional<FoundVideo> videoOf(const NDIProbe &probe)
{
    const CComPtr<IMFMediaType> type = probe.videoType();
    FoundVideo video;
    if (!type || FAILED(videoFormatFromMediaType(type, video.format)))
        return std::nullopt;
    video.hasFrameMetadata = hasFrameMetadata(type);
    return video;
}

std::optional<FoundAudio> audioOf(const NDIProbe &probe)
{
    const CComPtr<IMFMediaType> type = probe.audioType();
    AudioFormat format;
    if (!type || FAILED(audioFormatFromMediaType(type, format)))
        return std::nullopt;
    return FoundAudio{format.no_channels, format.sample_rate, hasFrameMetadata(type)};
}

} // namespace

Findings probeSender(const nditools::FoundSender &sender, std::chrono::milliseconds patience)
{
    const Receiver receiver = connectTo(sender);
    NDIProbe probe(receiver.get());
    const std::unique_ptr<QThread> thread = threadFor(probe);
    thread->start();
    if (!thread->wait(QDeadlineTimer(patience + OtherKindPatience + FrameAllowance)))
        leave(sender);
    if (FAILED(probe.status()))
        throw Failure(ExitCode::NothingDelivered,
                      QStringLiteral("the probe of '%1' failed (0x%2)")
                          .arg(sender.name)
                          .arg(static_cast<quint32>(probe.status()), 8, 16, QLatin1Char('0')));
    return {sender.name, sender.address, videoOf(probe), audioOf(probe)};
}

} // namespace ndiprobe
