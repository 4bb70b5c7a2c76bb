/* Loads the library without a C++ runtime of its own, opens a session, unloads the library with the
   session open, sees the peer get end-of-file and the library gone, and does it all again. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

typedef long (*open_manager)(unsigned long*);
typedef long (*open_session)(unsigned long, const char*, unsigned long, unsigned long,
                             unsigned long*);

static int failed(const char* what) {
    fprintf(stderr, "load_unload: %s\n", what);
    return 1;
}

static int listen_on_loopback(unsigned short* port) {
    struct sockaddr_in address;
    socklen_t size = sizeof address;
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd < 0 || bind(fd, (struct sockaddr*)&address, size) != 0 || listen(fd, 8) != 0 ||
        getsockname(fd, (struct sockaddr*)&address, &size) != 0) {
        return -1;
    }
    *port = ntohs(address.sin_port);
    return fd;
}

static void* lookup(void* library, const char* name) {
    return dlsym(library, name);
}

static int load_use_and_unload(const char* path, int listener, unsigned short port) {
    char resource[64];
    char byte;
    unsigned long manager = 0;
    unsigned long session = 0;
    struct pollfd waited;
    open_manager open_default;
    open_session open_resource;
    void* symbol;
    void* library = dlopen(path, RTLD_NOW);
    if (library == NULL) {
        return failed(dlerror());
    }
    symbol = lookup(library, "viOpenDefaultRM");
    memcpy(&open_default, &symbol, sizeof symbol);
    symbol = lookup(library, "viOpen");
    memcpy(&open_resource, &symbol, sizeof symbol);
    snprintf(resource, sizeof resource, "TCPIP::127.0.0.1::%d::SOCKET", (int)port);
    if (open_default(&manager) != 0 || open_resource(manager, resource, 0, 0, &session) != 0) {
        return failed("the session does not open");
    }
    waited.fd = accept(listener, NULL, NULL);
    waited.events = POLLIN;
    if (dlclose(library) != 0) {
        return failed("dlclose fails");
    }
    if (poll(&waited, 1, 10000) != 1 || recv(waited.fd, &byte, 1, 0) != 0) {
        return failed("the peer does not see the end of the session");
    }
    close(waited.fd);
    if (dlopen(path, RTLD_NOW | RTLD_NOLOAD) != NULL) {
        return failed("the library is still loaded");
    }
    return 0;
}

int main(int argc, char** argv) {
    unsigned short port = 0;
    int listener = listen_on_loopback(&port);
    if (argc != 2 || listener < 0) {
        return failed("usage: load_unload LIBRARY");
    }
    for (int i = 0; i < 3; ++i) {
        if (load_use_and_unload(argv[1], listener, port) != 0) {
            return 1;
        }
    }
    return 0;
}
