#include "source/SenderSearch.h"

#include "plugin/AsyncOperationInterrupted.h"
#include "plugin/NdiGuards.h"
#include "source/SourceChecks.h"

namespace
{

constexpr uint32_t waitMilliseconds = 250;

// The first sender of the list that the input names, or null.
const NDIlib_source_t *findSender(NDIlib_find_instance_t finder, const NDIInput &input)
{
    uint32_t count = 0;
    const NDIlib_source_t *const sources = NDIlib_find_get_current_sources(finder, &count);
    for (uint32_t index = 0; sources && index < count; ++index)
        if (NDIInput(sources[index]) == input)
            return &sources[index];
    return nullptr;
}

} // namespace

NDIlib_recv_instance_t connectToSender(const SourceParameters &params)
{
    NDIlib_find_create_t findSettings;
    findSettings.show_local_sources = true;
    findSettings.p_groups = nullptr;
    findSettings.p_extra_ips = nullptr;
    const NdiFinder ownedFinder(NDIlib_find_create_v2(&findSettings));
    const NDIlib_find_instance_t finder = ownedFinder.get();
    THROW_POINTER(finder);

    NDIlib_recv_create_t settings;
    settings.color_format = NDIlib_recv_color_format_UYVY_BGRA;
    settings.bandwidth = NDIlib_recv_bandwidth_highest;
    settings.allow_video_fields = true;
    for (;;) {
        if (params.cancellationToken && params.cancellationToken->isCancelled())
            throw AsyncOperationInterrupted();
        if (const NDIlib_source_t *const sender = findSender(finder, params.input)) {
            settings.source_to_connect_to = *sender;
            settings.color_format = NDIlib_recv_color_format_fastest;
            return NDIlib_recv_create_v2(&settings);
        }
        NDIlib_find_wait_for_sources(finder, waitMilliseconds);
    }
}
