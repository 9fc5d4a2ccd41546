// Linux: libvlc is linked, so the table is its functions.
#include "vlc/QelVlc.h"

const QelVlcApi* QelVlc::Api() {
#define QEL_VLC_ENTRY(name) &::name,
    static const QelVlcApi api = {QEL_VLC_FUNCTIONS(QEL_VLC_ENTRY)};
#undef QEL_VLC_ENTRY
    return &api;
}
