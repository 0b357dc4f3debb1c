// Writes "<KORVEX_ARGRECORDER_DIR>/<pid>.args": the working directory, then argv[0..n-1],
// each terminated by a NUL byte, then exits with status 0. Exits with status 3 when the
// directory is not given or the file cannot be written. With KORVEX_ARGRECORDER_HOLD set it
// stays running until its standard input is closed, so a test decides when the module ends.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

int main(int argc, char **argv)
{
    const char *dir = std::getenv("KORVEX_ARGRECORDER_DIR");
    if (!dir)
        return 3;
    const std::string path = std::string(dir) + "/" + std::to_string(getpid()) + ".args";
    const std::string partial = path + ".part";
    std::FILE *out = std::fopen(partial.c_str(), "wb");
    if (!out)
        return 3;
    char cwd[4096] = {};
    if (!getcwd(cwd, sizeof cwd))
        cwd[0] = '\0';
    std::fwrite(cwd, 1, std::string(cwd).size() + 1, out);
    for (int i = 0; i < argc; ++i)
        std::fwrite(argv[i], 1, std::string(argv[i]).size() + 1, out);
    std::fclose(out);
    // Readers never see a half-written file.
    if (std::rename(partial.c_str(), path.c_str()) != 0)
        return 3;
    if (std::getenv("KORVEX_ARGRECORDER_HOLD")) {
        while (std::fgetc(stdin) != EOF) {
        }
    }
    return 0;
}
