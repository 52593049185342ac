#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    std::fprintf(stderr, "usage: trellium COMMAND ...\n");
    return 2;
}
