// qelplay: plays a URL or path through QelMediaPlayer and shows what the component does.
#include <cstdio>

#include "QelPlayAudio.h"
#include "QelPlayOptions.h"
#include "QelPlayVideo.h"

int main(int argc, char** argv) {
    const qelplay::ParseResult parsed = qelplay::ParseCommandLine(argc, argv);
    if (parsed.bHelp) {
        std::fputs(qelplay::Usage(), stdout);
        return qelplay::kExitEnded;
    }
    if (!parsed.options) {
        std::fprintf(stderr, "qelplay: %s\n\n%s", parsed.strError.c_str(), qelplay::Usage());
        return qelplay::kExitBadArguments;
    }
    return parsed.options->bAudio ? qelplay::PlayAudio(*parsed.options) : qelplay::PlayVideo(*parsed.options);
}
