// qelserve: serves a folder on 127.0.0.1 for the demo and the benchmarks, optionally
// throttled like a slow network, and optionally with one fault on one path.
//   qelserve ROOT [--throttle BYTES_PER_SEC] [--port-file FILE] [--status PATH CODE]
// It prints its base URL, then serves until its standard input closes or it is killed.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "qelserve/QelLoopbackServer.h"

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    if (argc < 2 || std::string(argv[1]) == "--help") {
        std::fputs("usage: qelserve ROOT [--throttle BYTES_PER_SEC] [--port-file FILE] [--status PATH CODE]\n",
                   argc < 2 ? stderr : stdout);
        return argc < 2 ? 1 : 0;
    }
    const fs::path root = argv[1];
    if (!fs::is_directory(root)) {
        std::fprintf(stderr, "qelserve: no such folder: %s\n", argv[1]);
        return 1;
    }
    long long llThrottle = 0;
    std::string strPortFile;
    qel::TestHttpServer server(root);
    for (int i = 2; i < argc; ++i) {
        const std::string strArg = argv[i];
        if (strArg == "--throttle" && i + 1 < argc) {
            llThrottle = std::atoll(argv[++i]);
        } else if (strArg == "--port-file" && i + 1 < argc) {
            strPortFile = argv[++i];
        } else if (strArg == "--status" && i + 2 < argc) {
            const std::string strPath = argv[++i];
            server.SetFault(strPath, qel::TestHttpFault::Status(std::atoi(argv[++i])));
        } else {
            std::fprintf(stderr, "qelserve: bad argument %s\n", strArg.c_str());
            return 1;
        }
    }
    if (!server.IsRunning()) {
        std::fprintf(stderr, "qelserve: cannot listen on 127.0.0.1\n");
        return 1;
    }
    if (llThrottle > 0) {
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            if (entry.is_regular_file())
                server.SetFault("/" + fs::relative(entry.path(), root).generic_string(),
                                qel::TestHttpFault::Throttle(llThrottle));
        }
    }
    if (!strPortFile.empty())
        std::ofstream(strPortFile) << server.Port() << "\n";
    std::printf("%s\n", server.Url("").c_str());
    std::fflush(stdout);
    std::string strLine;
    while (std::getline(std::cin, strLine)) {
    }
    return 0;
}
