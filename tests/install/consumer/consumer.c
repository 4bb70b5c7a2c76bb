/* A C99 program that knows only the installed tree: queries its own loopback peer. */
#define _POSIX_C_SOURCE 200809L
#include <visa.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

static int failed(const char* what, ViStatus status) {
    fprintf(stderr, "consumer: %s: %lx\n", what, (unsigned long)status);
    return 1;
}

int main(void) {
    struct sockaddr_in address;
    socklen_t size = sizeof address;
    char resource[64];
    char answer[64] = "";
    ViSession manager = VI_NULL;
    ViSession vi = VI_NULL;
    ViStatus status;
    int peer;
    int listener = socket(AF_INET, SOCK_STREAM, 0);
    memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, (struct sockaddr*)&address, size) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, (struct sockaddr*)&address, &size) != 0) {
        return failed("listen", 0);
    }
    snprintf(resource, sizeof resource, "TCPIP::127.0.0.1::%d::SOCKET", ntohs(address.sin_port));
    status = viOpenDefaultRM(&manager);
    if (status != VI_SUCCESS) {
        return failed("viOpenDefaultRM", status);
    }
    status = viOpen(manager, resource, VI_NO_LOCK, VI_TMO_IMMEDIATE, &vi);
    if (status != VI_SUCCESS) {
        return failed("viOpen", status);
    }
    peer = accept(listener, NULL, NULL);
    if (write(peer, "Orvane,Consumer\n", 16) != 16) {
        return failed("write", 0);
    }
    viSetAttribute(vi, VI_ATTR_TERMCHAR_EN, VI_TRUE);
    status = viQueryf(vi, "*IDN?\n", "%T", answer);
    if (status != VI_SUCCESS || strcmp(answer, "Orvane,Consumer\n") != 0) {
        return failed("viQueryf", status);
    }
    status = viClose(vi);
    return status == VI_SUCCESS ? 0 : failed("viClose", status);
}
