// Frames with any numbers in them, one after the other, to the streams of a source: made into samples, or refused, with
// no byte touched beyond those that the numbers promise.

#include "source/NDISourceMF.h"
#include "source/NDISourceStreamAudio.h"
#include "source/NDISourceStreamVideo.h"
#include "tests/support/ScriptedNdi.h"

#include <d3d11.h>
#include <mfapi.h>
#include <mfidl.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace
{

constexpr std::size_t LargestFrame = 1 << 18; // bytes; larger ones only cost time
constexpr int MostSteps = 16;
// What the streams take at most. Of a frame beyond it not a byte may be read.
constexpr int LargestSide = 32768; // pixels
constexpr int MostChannels = 256;
constexpr std::int64_t LargestSound = 64 << 20; // bytes

void require(bool condition)
{
    if (!condition)
        std::abort();
}

// Numbers out of the input; zeros behind its end.
class Input
{
public:
    Input(const std::uint8_t *bytes, std::size_t size) : m_bytes(bytes), m_size(size) {}

    bool isAtEnd() const { return m_size == 0; }

    template <class Number>
    Number take()
    {
        Number number{};
        const std::size_t count = std::min(sizeof(number), m_size);
        std::memcpy(&number, m_bytes, count);
        m_bytes += count;
        m_size -= count;
        return number;
    }

    // A small number in one byte, any in five.
    int number()
    {
        const int low = take<std::uint8_t>();
        return low < 240 ? low : take<std::int32_t>();
    }

private:
    const std::uint8_t *m_bytes;
    std::size_t m_size;
};

// Exactly as large as a frame promises, so that a byte too many is seen; one byte for a frame that nobody may read.
// Nothing for a frame that is right and only large.
std::optional<std::vector<std::uint8_t>> memoryFor(std::int64_t lineBytes, std::int64_t lines, bool mayBeRead)
{
    if (!mayBeRead || lineBytes <= 0 || lines <= 0)
        return std::vector<std::uint8_t>(1);
    if (lineBytes * lines > static_cast<std::int64_t>(LargestFrame))
        return std::nullopt;
    return std::vector<std::uint8_t>(static_cast<std::size_t>(lineBytes * lines), 0x55);
}

std::optional<std::string> text(Input &input)
{
    static const char *const texts[] = {"",
                                        "<x/>",
                                        "<tvx><![CDATA[AAECAw==]]></tvx>",
                                        "<tvx><![CDATA[****]]></tvx>",
                                        "<tvx><![CDATA[AAE",
                                        "\xff\xfe<tvx>"};
    const std::size_t which = input.take<std::uint8_t>();
    if (which >= std::size(texts))
        return std::nullopt;
    return texts[which];
}

NDIlib_FourCC_video_type_e fourCC(Input &input)
{
    constexpr NDIlib_FourCC_video_type_e known[] = {
        NDIlib_FourCC_video_type_UYVY, NDIlib_FourCC_video_type_BGRA, NDIlib_FourCC_video_type_BGRX,
        NDIlib_FourCC_video_type_UYVA, NDIlib_FourCC_video_type_P216, NDIlib_FourCC_video_type_PA16,
        NDIlib_FourCC_video_type_YV12, NDIlib_FourCC_video_type_I420, NDIlib_FourCC_video_type_NV12,
        NDIlib_FourCC_video_type_RGBA, NDIlib_FourCC_video_type_RGBX};
    const std::size_t which = input.take<std::uint8_t>();
    return which < std::size(known) ? known[which]
                                    : static_cast<NDIlib_FourCC_video_type_e>(input.take<std::int32_t>());
}

int stride(Input &input, const NDIlib_video_frame_v2_t &frame)
{
    const std::int64_t packed = std::int64_t{frame.xres} * (frame.FourCC == NDIlib_FourCC_video_type_UYVY ? 2 : 4);
    const int more = input.number();
    return more < 32 && packed >= 0 && packed < (1 << 20) ? static_cast<int>(packed) + more : more;
}

// Streams that belong to no presentation: what they push is dropped.
class Streams
{
public:
    explicit Streams(NDISourceMF *source) : m_video(source, 0, &m_queue), m_audio(source, 1, &m_queue)
    {
        require(SUCCEEDED(m_video.setMediaType(m_video.createDefaultMediaType())));
        require(SUCCEEDED(m_audio.setMediaType(m_audio.createDefaultMediaType())));
    }

    void giveVideo(Input &input)
    {
        NDIlib_video_frame_v2_t frame;
        frame.FourCC = fourCC(input);
        frame.xres = input.number();
        frame.yres = input.number();
        frame.line_stride_in_bytes = stride(input, frame);
        frame.frame_rate_N = input.number();
        frame.frame_rate_D = input.number();
        frame.frame_format_type = static_cast<NDIlib_frame_format_type_e>(input.number());
        frame.picture_aspect_ratio = input.take<float>();
        frame.timecode = input.take<std::int64_t>();
        const auto metadata = text(input);
        frame.p_metadata = metadata ? metadata->c_str() : nullptr;
        auto memory = memoryFor(frame.line_stride_in_bytes, frame.yres,
                                frame.xres > 0 && frame.xres <= LargestSide && frame.yres <= LargestSide);
        if (!memory)
            return;
        frame.p_data = memory->data();
        m_video.processFrame(frame, nullptr);
    }

    void giveAudio(Input &input)
    {
        NDIlib_audio_frame_v2_t frame;
        frame.sample_rate = input.number();
        frame.no_channels = input.number();
        frame.no_samples = input.number();
        frame.channel_stride_in_bytes = input.number();
        if (frame.channel_stride_in_bytes == 0 && frame.no_samples > 0 && frame.no_samples < (1 << 20))
            frame.channel_stride_in_bytes = 4 * frame.no_samples;
        frame.timecode = input.take<std::int64_t>();
        const auto metadata = text(input);
        frame.p_metadata = metadata ? metadata->c_str() : nullptr;
        const std::int64_t bytes = std::int64_t{frame.channel_stride_in_bytes} * frame.no_channels;
        auto memory = memoryFor(frame.channel_stride_in_bytes, frame.no_channels,
                                frame.no_channels <= MostChannels && bytes <= LargestSound);
        if (!memory)
            return;
        frame.p_data = reinterpret_cast<float *>(memory->data());
        m_audio.processFrame(frame, nullptr);
    }

    // As a consumer does that wants pictures otherwise.
    void setVideoType(Input &input)
    {
        const GUID *const subtypes[] = {&MFVideoFormat_UYVY, &MFVideoFormat_YUY2, &MFVideoFormat_NV12,
                                        &MFVideoFormat_ARGB32, &MFVideoFormat_RGB32};
        const GUID &subtype = *subtypes[input.take<std::uint8_t>() % std::size(subtypes)];
        const auto width = static_cast<UINT32>(1 + input.take<std::uint8_t>());
        const auto height = static_cast<UINT32>(1 + input.take<std::uint8_t>());
        CComPtr<IMFMediaType> type;
        require(SUCCEEDED(MFCreateMediaType(&type)));
        type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
        type->SetGUID(MF_MT_SUBTYPE, subtype);
        MFSetAttributeSize(type, MF_MT_FRAME_SIZE, width, height);
        MFSetAttributeRatio(type, MF_MT_FRAME_RATE, 25, 1);
        m_video.setMediaType(type);
    }

    HRESULT setDeviceManager(IUnknown *manager) { return m_video.SetD3DManager(manager); }

private:
    const tvx::MFMessageQueue m_queue{tvx::MFMessageQueue::Type::Serial, 0};
    NDISourceStreamVideo m_video;
    NDISourceStreamAudio m_audio;
};

void ignoreLine(QtMsgType, const QMessageLogContext &, const QString &) {}

// What all inputs share: a source of pictures in memory and one of textures, on a sender of the scripted runtime.
class Environment
{
public:
    Environment()
    {
        qInstallMessageHandler(ignoreLine);
        ScriptedNdi::instance().setSources({{"HOST (Fuzz)", "127.0.0.1:5961"}});
        require(SUCCEEDED(MFStartup(MF_VERSION, MFSTARTUP_FULL)));
        m_software = makeSource(false);
        m_hardware = makeSource(true);

        CComPtr<ID3D11Device> device;
        require(SUCCEEDED(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_WARP, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION,
                                            &device, nullptr, nullptr)));
        UINT token = 0;
        require(SUCCEEDED(MFCreateDXGIDeviceManager(&token, &m_deviceManager)));
        require(SUCCEEDED(m_deviceManager->ResetDevice(device, token)));
    }
    ~Environment()
    {
        m_software->Shutdown();
        m_hardware->Shutdown();
        m_software.Release();
        m_hardware.Release();
        m_deviceManager.Release();
        MFShutdown();
    }

    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

    void run(Input input)
    {
        const bool hardware = input.take<std::uint8_t>() % 2 != 0;
        Streams streams(hardware ? m_hardware : m_software);
        if (hardware)
            require(SUCCEEDED(streams.setDeviceManager(m_deviceManager)));
        for (int step = 0; step < MostSteps && !input.isAtEnd(); ++step) {
            const int kind = input.take<std::uint8_t>() % 8;
            if (kind == 0)
                streams.setVideoType(input);
            else if (kind < 3)
                streams.giveAudio(input);
            else
                streams.giveVideo(input);
        }
    }

private:
    static CComPtr<NDISourceMF> makeSource(bool hardwareSamples)
    {
        SourceParameters parameters;
        parameters.input = NDIInput(QStringLiteral("HOST (Fuzz)"), QStringLiteral("127.0.0.1:5961"));
        parameters.hasVideo = true;
        parameters.hasAudio = true;
        parameters.hardwareSamples = hardwareSamples;
        HRESULT result = S_OK;
        CComPtr<NDISourceMF> source(new NDISourceMF(result, parameters));
        require(SUCCEEDED(result));
        return source;
    }

    CComPtr<NDISourceMF> m_software;
    CComPtr<NDISourceMF> m_hardware;
    CComPtr<IMFDXGIDeviceManager> m_deviceManager;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static Environment environment;
    environment.run(Input(bytes, size));
    return 0;
}
