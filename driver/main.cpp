#include <cstdio>

int main(int argc, char**) {
    if (argc < 2) {
        std::printf("anarep v1.1\nUsage: anarep <xmlFile> [<graph-file>]\n");
        return 0;
    }
    return 1;
}
