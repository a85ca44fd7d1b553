#include "discovery/NDIInputEnumerator.h"

#include "discovery/NDIEnumeratorWorker.h"

NDIInputEnumerator::NDIInputEnumerator()
{
    qRegisterMetaType<QList<NDIInput>>();
    m_worker = std::make_unique<NDIEnumeratorWorker>();
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::started, m_worker.get(), &NDIEnumeratorWorker::init);
    connect(m_worker.get(), &NDIEnumeratorWorker::inputsChanged, this, &NDIInputEnumerator::onInputsChanged);
    m_thread.start(QThread::LowPriority);
}

NDIInputEnumerator::~NDIInputEnumerator()
{
    m_thread.quit();
    m_thread.wait();
    m_worker.reset();
}

QVariantList NDIInputEnumerator::inputs() const
{
    QVariantList list;
    list.reserve(m_inputs.size());
    for (const NDIInput &input : m_inputs)
        list.append(QVariant::fromValue(input));
    return list;
}

NDIInput NDIInputEnumerator::createInput()
{
    return {};
}

void NDIInputEnumerator::onInputsChanged(QList<NDIInput> inputs)
{
    m_inputs = std::move(inputs);
    Q_EMIT inputsChanged();
}
