#include "ndi/tools/common/SenderList.h"

#include "ndi/tools/common/Failure.h"

namespace nditools
{

SenderList::SenderList()
{
    const NDIlib_find_create_t settings;
    m_finder.reset(NDIlib_find_create_v2(&settings));
    if (!m_finder)
        throw Failure(ExitCode::NoRuntime, QStringLiteral("the NDI runtime does not look for senders"));
}

QList<FoundSender> SenderList::current() const
{
    std::uint32_t count = 0;
    const NDIlib_source_t *const sources = NDIlib_find_get_current_sources(m_finder.get(), &count);
    QList<FoundSender> senders;
    for (std::uint32_t index = 0; index < count; ++index)
        senders.append({QString::fromUtf8(sources[index].p_ndi_name), QString::fromUtf8(sources[index].p_url_address)});
    return senders;
}

void SenderList::waitForChange(std::chrono::milliseconds patience) const
{
    NDIlib_find_wait_for_sources(m_finder.get(), static_cast<std::uint32_t>(patience.count()));
}

} // namespace nditools
