#pragma once

#include "host/graph/LeftOutLog.h"
#include "host/graph/Pipeline.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <QtQml/QQmlListProperty>
#include <QtQml/QQmlParserStatus>

namespace host
{

class Link;

// The root of a scene: holds nodes, links and whatever else the scene needs, and runs the nodes.
//
//   Graph {
//       TestPattern { id: source }
//       Monitor { id: monitor }
//       Link { from: source.videoOutput; to: monitor.videoInput }
//   }
//
// A node runs when it is in the list or at the end of a link in the list, and linked to something. Links may change
// while the graph runs.
class Graph : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QQmlListProperty<QObject> objects READ objects)
    Q_PROPERTY(bool running READ isRunning WRITE setRunning NOTIFY runningChanged)
    Q_PROPERTY(int restarts READ restarts NOTIFY restartsChanged)
    Q_CLASSINFO("DefaultProperty", "objects")

public:
    explicit Graph(QObject *parent = nullptr);
    ~Graph() override;

    QQmlListProperty<QObject> objects();
    // True unless the scene says otherwise; the graph runs from when the scene is complete.
    bool isRunning() const { return m_running; }
    void setRunning(bool running);
    // How often a node had to be made again because it failed or its source ended.
    int restarts() const;

    // For objects made while the graph is there. The graph does not own them.
    Q_INVOKABLE void add(QObject *object);
    Q_INVOKABLE void remove(QObject *object);

    void classBegin() override;
    void componentComplete() override;

public Q_SLOTS:
    void start();
    void stop();

Q_SIGNALS:
    void runningChanged();
    void restartsChanged();
    // A node could not be made, failed, or its source ended; it will be tried again.
    void nodeFailed(QObject *node, const QString &why);

private:
    static void appendObject(QQmlListProperty<QObject> *list, QObject *object);
    static int objectCount(QQmlListProperty<QObject> *list);
    static QObject *objectAt(QQmlListProperty<QObject> *list, int index);
    static void clearObjects(QQmlListProperty<QObject> *list);

    void onObjectGone(QObject *object);
    void update();
    void refreshFigures();

    QList<QObject *> m_objects;
    QList<QObject *> m_links; // those of m_objects that are links
    Pipeline m_pipeline;
    QTimer m_refresh; // of the links' figures
    LeftOutLog m_leftOutLog;
    bool m_running = true;
    bool m_complete = false;
};

} // namespace host
