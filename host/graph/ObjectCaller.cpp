#include "host/graph/ObjectCaller.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

namespace host
{

// Lives on the owner's thread and hears there that functions wait.
class ObjectCaller::Bell : public QObject
{
public:
    explicit Bell(ObjectCaller &caller) : m_caller(caller) {}

    void ring() { QCoreApplication::postEvent(this, std::make_unique<QEvent>(QEvent::User).release()); }
    bool event(QEvent *event) override
    {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        m_caller.runAll();
        return true;
    }

private:
    ObjectCaller &m_caller;
};

ObjectCaller::ObjectCaller() : m_bell(std::make_unique<Bell>(*this)) {}

ObjectCaller::~ObjectCaller() = default;

void ObjectCaller::call(std::function<void()> function)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_bell)
        return;
    m_functions.push_back(std::move(function));
    if (m_functions.size() == 1)
        m_bell->ring();
}

void ObjectCaller::close()
{
    std::unique_ptr<Bell> bell;
    std::vector<std::function<void()>> dropped;
    const std::lock_guard<std::mutex> guard(m_lock);
    bell = std::move(m_bell);
    dropped.swap(m_functions);
}

void ObjectCaller::runAll()
{
    std::vector<std::function<void()>> functions;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        functions.swap(m_functions);
    }
    for (const auto &function : functions)
        function();
}

} // namespace host
