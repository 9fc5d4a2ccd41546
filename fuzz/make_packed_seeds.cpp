// make_packed_seeds OUT_DIR FILE...: writes OUT_DIR/packed_<name> for each text FILE.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "QelPlaylistPacker.h"

int main(int argc, char** argv)
{
    if (argc < 3)
    {
        std::fprintf(stderr, "usage: %s OUT_DIR FILE...\n", argv[0]);
        return 2;
    }
    for (int i = 2; i < argc; ++i)
    {
        std::ifstream in(argv[i], std::ios::binary);
        if (!in)
        {
            std::fprintf(stderr, "cannot read %s\n", argv[i]);
            return 1;
        }
        const std::string strText((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::string strName = argv[i];
        strName = strName.substr(strName.find_last_of('/') + 1);
        std::ofstream out(std::string(argv[1]) + "/packed_" + strName, std::ios::binary | std::ios::trunc);
        const std::string strPacked = qel_test::PackPlaylist(strText);
        out.write(strPacked.data(), static_cast<std::streamsize>(strPacked.size()));
        if (!out)
        {
            std::fprintf(stderr, "cannot write the packed form of %s\n", argv[i]);
            return 1;
        }
    }
    return 0;
}
