#pragma once

#include <QtCore/QString>

// What a sink node hands to the creation of its media sink.
struct NDISinkParams {
    QString name; // of the sender
    bool hasVideo = false;
    bool hasAudio = false;
};
