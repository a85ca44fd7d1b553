#include "ndi/tools/ndi-recv/Connection.h"

#include "ndi/tools/ndi-recv/Failure.h"

#include <QtCore/QByteArray>

namespace ndirecv
{

CapturedFrame::CapturedFrame(NDIlib_recv_instance_t receiver, std::chrono::milliseconds patience)
    : m_receiver(receiver), m_type(NDIlib_recv_capture_v2(receiver, &m_video, &m_audio, &m_metadata,
                                                          static_cast<std::uint32_t>(patience.count())))
{
}

CapturedFrame::~CapturedFrame()
{
    if (m_type == NDIlib_frame_type_video)
        NDIlib_recv_free_video_v2(m_receiver, &m_video);
    else if (m_type == NDIlib_frame_type_audio)
        NDIlib_recv_free_audio_v2(m_receiver, &m_audio);
    else if (m_type == NDIlib_frame_type_metadata)
        NDIlib_recv_free_metadata(m_receiver, &m_metadata);
}

Connection::Connection(const nditools::FoundSender &sender, const Options &options)
    : m_options(options), m_sender(sender)
{
    connect();
}

void Connection::connect()
{
    const QByteArray name = m_sender.name.toUtf8();
    const QByteArray address = m_sender.address.toUtf8();
    NDIlib_recv_create_t settings;
    settings.source_to_connect_to.p_ndi_name = name.constData();
    settings.source_to_connect_to.p_url_address = address.constData();
    settings.color_format = m_options.colour;
    settings.allow_video_fields = m_options.fields;
    m_receiver.reset(NDIlib_recv_create_v2(&settings));
    if (!m_receiver)
        throw Failure(ExitCode::NoRuntime, QStringLiteral("the NDI runtime makes no receiver"));
    sendTally();
}

void Connection::sendTally() const
{
    if (m_options.tally)
        NDIlib_recv_set_tally(m_receiver.get(), &*m_options.tally);
}

void Connection::lookForSender()
{
    if (!m_list)
        m_list.emplace();
    for (const nditools::FoundSender &listed : m_list->current()) {
        if (listed.name == m_sender.name && listed.address != m_sender.address) {
            m_sender = listed;
            connect();
            return;
        }
    }
}

} // namespace ndirecv
