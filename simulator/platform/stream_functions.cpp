// What the DLL writes to the process's standard streams through the runtime that it shares with the process.
#include "world.h"

#include <cstdio>

namespace simulator {
namespace {

// The text that the stream's output goes to; null for any other stream and on threads that are not ours.
std::string* captured(std::FILE* stream) {
    World* w = scheduledWorld();
    if (!w || (stream != stdout && stream != stderr))
        return nullptr;
    return stream == stdout ? &w->streams.out : &w->streams.error;
}

std::size_t __cdecl write(const void* data, std::size_t size, std::size_t count, std::FILE* stream) {
    std::string* text = captured(stream);
    if (!text)
        return std::fwrite(data, size, count, stream);
    if (world()->briefCall("fwrite").fails)
        return 0;
    text->append(static_cast<const char*>(data), size * count);
    return count;
}

int __cdecl writeCharacter(int character, std::FILE* stream) {
    std::string* text = captured(stream);
    if (!text)
        return std::fputc(character, stream);
    if (world()->briefCall("fputc").fails)
        return EOF;
    *text += static_cast<char>(character);
    return static_cast<unsigned char>(character);
}

int __cdecl writeText(const char* string, std::FILE* stream) {
    std::string* text = captured(stream);
    if (!text)
        return std::fputs(string, stream);
    if (world()->briefCall("fputs").fails)
        return EOF;
    *text += string;
    return 0;
}

int __cdecl flush(std::FILE* stream) {
    if (!captured(stream))
        return std::fflush(stream);
    if (world()->briefCall("fflush").fails)
        return EOF;
    ++(stream == stdout ? world()->streams.outFlushes : world()->streams.errorFlushes);
    return 0;
}

} // namespace

std::vector<Replacement> streamFunctions() {
    return {
        replacement("fwrite", &write),    replacement("fputc", &writeCharacter), replacement("putc", &writeCharacter),
        replacement("fputs", &writeText), replacement("fflush", &flush),
    };
}

} // namespace simulator
