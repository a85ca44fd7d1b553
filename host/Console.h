#pragma once

#include <QtCore/QObject>

namespace host
{

// Reports Ctrl-C, and a request to end from the system, as a signal on the thread that made the object. The second one
// ends the process at once. One object at a time.
class Interrupt : public QObject
{
    Q_OBJECT

public:
    explicit Interrupt(QObject *parent = nullptr);
    ~Interrupt() override;

Q_SIGNALS:
    void interrupted();
};

// The file that the system's loader looks for when the module is loaded.
extern const char *const NdiRuntimeFile;

// Ends the process at the end of main, where that is how to get past threads of the system's own; elsewhere returns
// what main is to return.
int endProcess(int exitCode);

// Whether standard output is a terminal, on which a line can be written over.
bool isTerminal();

} // namespace host
