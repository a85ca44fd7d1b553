#pragma once

#include "discovery/NDIInput.h"

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QThread>
#include <QtCore/QVariant>

#include <memory>

class NDIEnumeratorWorker;

// The QML singleton `NDI`: which senders are on the network. Lives on the QML engine's thread; the network is watched
// on m_thread, and lists come over as values.
class NDIInputEnumerator : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList inputs READ inputs NOTIFY inputsChanged)

public:
    NDIInputEnumerator();
    // Waits for the pass under way: 200 ms at most.
    ~NDIInputEnumerator() override;

    QVariantList inputs() const;
    Q_INVOKABLE NDIInput createInput();

Q_SIGNALS:
    void inputsChanged();

private Q_SLOTS:
    void onInputsChanged(QList<NDIInput> inputs);

private:
    QList<NDIInput> m_inputs;
    QThread m_thread;
    std::unique_ptr<NDIEnumeratorWorker> m_worker;
};
