#pragma once

#include "discovery/NDIInput.h"

#include "Processing.NDI.Interface.h"

#include <QtCore/QList>
#include <QtCore/QObject>

// Watches the network with an NDI finder. Made on the enumerator's thread and moved to a thread of its own, where
// init() and update() run; deleted on the enumerator's thread when its own has ended.
class NDIEnumeratorWorker : public QObject
{
    Q_OBJECT

public:
    NDIEnumeratorWorker();
    ~NDIEnumeratorWorker() override;

Q_SIGNALS:
    // The complete list, after each change of it.
    void inputsChanged(QList<NDIInput>);

public Q_SLOTS:
    // Makes the finder and starts polling. Throws ComException when there is no finder.
    void init();
    // One pass of at most 200 ms, which posts the next: between two passes the thread can be told to quit.
    void update();

private:
    NDIlib_find_instance_t m_finder = nullptr;
};
