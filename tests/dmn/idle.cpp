// A program that takes any arguments and does nothing until a signal ends it.

#include <unistd.h>

int main() {
    for (;;)
        pause();
}
