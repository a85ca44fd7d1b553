#include "ndi/local/Handles.h"

using namespace localndi;

NDIlib_find_instance_t NDIlib_find_create_v2(const NDIlib_find_create_t *settings)
{
    const NDIlib_find_create_t defaults;
    const auto &wanted = settings != nullptr ? *settings : defaults;
    return makeHandle<NDIlib_find_instance_type>(wanted.show_local_sources, textOrEmpty(wanted.p_groups));
}

void NDIlib_find_destroy(NDIlib_find_instance_t finder)
{
    destroyHandle(finder);
}

bool NDIlib_find_wait_for_sources(NDIlib_find_instance_t finder, uint32_t timeout_ms)
{
    return finder != nullptr && finder->finder.wait(waitTime(timeout_ms));
}

const NDIlib_source_t *NDIlib_find_get_current_sources(NDIlib_find_instance_t finder, uint32_t *count)
{
    std::uint32_t ignored = 0;
    auto &number = count != nullptr ? *count : ignored;
    number = 0;
    return finder != nullptr ? finder->finder.sources(number) : nullptr;
}
