// The name under which a segment is cached inside its video's folder. A playlist comes from
// the network: its URIs must never reach outside the folder, nor break the video when the
// file system cannot hold them. A plain relative path keeps its name; anything else is
// named after the URI's MD5 with the extension of its path part (".ts" when it has none).
#pragma once

#include <string>

namespace qel {

// True when strUri ('/'-separated, UTF-8) can be used as it is: relative, no "." or ".."
// component, no empty component, no scheme, query or fragment, no drive letter, and no
// character or name a Windows file name cannot hold.
bool IsPlainRelativeSegmentPath(const std::string& strUri);

// strUri itself when it is a plain relative path, else "<md5 of the uri>.<ext>".
std::string SegmentCacheName(const std::string& strUri);

}  // namespace qel
