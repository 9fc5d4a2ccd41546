#include "QelPlayAudio.h"

#include "QelPlayReport.h"
#include "QelPlayWindow.h"
#include "audio/QelAudioNotify.h"
#include "audio/QelAudioPlayerManagerVlc.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"

namespace qelplay {

using namespace std::chrono_literals;

int PlayAudio(const Options& options) {
    Report report(options.bEvents);
    PlayWindow window(true, options.strSource);
    QelAudioPlayerManagerVlc player(nullptr);
    player.SetHWnd(window.NotifyWindow());
    player.SetPlayingCallback(&QelAudioNotifyPlaying);
    player.SetPosChangedCallback(&QelAudioNotifyPosChanged);
    player.SetEndReachedCallback(&QelAudioNotifyEndReached);

    report.Line("Playing " + options.strSource + " (audio)");
    if (!player.Play(QelString::Utf8ToUnicode(options.strSource))) {
        report.Line("qelplay: the audio could not be opened (is libvlc there?): " + options.strSource);
        return kExitCannotOpen;
    }
    bool bSought = false;
    double startedAt = -1;
    for (;;) {
        if (options.timeoutSeconds > 0 && report.SecondsSinceStart() > options.timeoutSeconds) {
            report.Line("qelplay: gave up");
            player.Stop();
            return kExitTimeout;
        }
        auto message = window.Next(200ms);
        if (!message)
            continue;
        report.Event(*message);
        if (message->message == QEL_AUDIO_PLAYING && startedAt < 0) {
            startedAt = report.SecondsSinceStart();
            report.Line("playing after " + std::to_string(static_cast<int>(startedAt * 1000)) + " ms, length " +
                        Report::Clock(player.GetLength()));
            if (options.seekSeconds && !bSought) {
                bSought = true;
                const long long llLength = player.GetLength();
                if (llLength > 0)
                    player.SetPosition(static_cast<int>(*options.seekSeconds * 1000.0 * 1000.0 / static_cast<double>(llLength)));
            }
        } else if (message->message == QEL_AUDIO_POS_CHANGED) {
            report.Status(Report::Clock(player.GetTime()) + " / " + Report::Clock(player.GetLength()));
        } else if (message->message == QEL_AUDIO_END_REACHED) {
            report.Line("summary: playback reached the end");
            player.Stop();
            return kExitEnded;
        }
    }
}

}  // namespace qelplay
