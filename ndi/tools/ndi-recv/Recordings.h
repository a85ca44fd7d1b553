#pragma once

// The files that a run writes while frames arrive. Used by one thread, the capturing one; what goes to disk does on
// others.

#include "ndi/tools/ndi-recv/BackgroundRecording.h"
#include "ndi/tools/ndi-recv/Options.h"
#include "ndi/tools/ndi-recv/Writers.h"

#include <memory>
#include <vector>

namespace ndirecv
{

class Recordings
{
public:
    explicit Recordings(const Options &options);

    void addVideo(const NDIlib_video_frame_v2_t &frame);
    void addAudio(const NDIlib_audio_frame_v2_t &frame);
    void addMetadata(const NDIlib_metadata_frame_t &frame);
    // The next frames follow on none.
    void connectionLost() { m_pictures.forget(); }

    // What has gone wrong since the last call, a sentence each that begins with the option.
    std::vector<QString> takeErrors();
    // Pictures and sounds that came faster than they could be written.
    std::int64_t leftOut();

    // Writes what still waits, and the snapshot.
    void finish();

private:
    template <class Writer, class Record>
    struct Output {
        const char *option;
        std::unique_ptr<BackgroundRecording<Writer, Record>> recording; // null: not wanted
        bool isErrorTold = false;
        bool isLossTold = false;
    };

    template <class Writer, class Record>
    void takeErrors(Output<Writer, Record> &output, std::vector<QString> &errors);
    void addText(const char *kind, const char *text, std::int64_t timecode);
    template <class Action>
    void forEach(Action action);

    PictureStore m_pictures;
    SharedPicture m_last; // for the snapshot
    const QString m_snapshotFile;
    QString m_snapshotError;
    Output<VideoWriter, SharedPicture> m_video;
    Output<RawWriter, SharedPicture> m_raw;
    Output<SoundWriter, Sound> m_audio;
    Output<LineWriter, QByteArray> m_metadata;
};

} // namespace ndirecv
