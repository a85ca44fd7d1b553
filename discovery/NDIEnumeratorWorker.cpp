#include "discovery/NDIEnumeratorWorker.h"

#include "plugin/Checks.h"

namespace
{

constexpr uint32_t waitMilliseconds = 200;

const QLoggingCategory &defaultCategory()
{
    return *QLoggingCategory::defaultCategory();
}

constexpr auto checkCategory = defaultCategory;

} // namespace

NDIEnumeratorWorker::NDIEnumeratorWorker() = default;

NDIEnumeratorWorker::~NDIEnumeratorWorker()
{
    if (m_finder)
        NDIlib_find_destroy(m_finder);
}

void NDIEnumeratorWorker::init()
{
    NDIlib_find_create_t settings;
    settings.show_local_sources = true;
    settings.p_groups = nullptr;
    settings.p_extra_ips = nullptr;
    m_finder = NDIlib_find_create_v2(&settings);
    THROW_POINTER(m_finder);
    update();
}

void NDIEnumeratorWorker::update()
{
    if (NDIlib_find_wait_for_sources(m_finder, waitMilliseconds)) {
        uint32_t count = 0;
        const NDIlib_source_t *const sources = NDIlib_find_get_current_sources(m_finder, &count);
        QList<NDIInput> inputs;
        inputs.reserve(static_cast<int>(count));
        for (uint32_t index = 0; index < count; ++index)
            inputs.append(NDIInput(sources[index]));
        Q_EMIT inputsChanged(inputs);
    }
    QMetaObject::invokeMethod(this, "update", Qt::QueuedConnection);
}
