// A program that can be watched: asks an instrument and prints its answers.
//   measure RESOURCE QUERY...
// Everything it transfers is seen by a monitor that is opened on RESOURCE with "::HOOK" behind it.
#include <uxvisa/hook.h>

#include <cstdio>
#include <string>

namespace {

// The answer of a line, or nothing when there is none.
bool Ask(ISession& instrument, std::string query, std::string& answer) {
    query += "\n";
    unsigned long count = 0;
    if (instrument.Write(reinterpret_cast<unsigned char*>(query.data()), query.size(), &count) !=
        VI_SUCCESS) {
        return false;
    }
    unsigned char line[1024];
    const long status = instrument.Read(line, sizeof line, &count);
    answer.assign(reinterpret_cast<char*>(line), count);
    return status >= VI_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: measure RESOURCE QUERY...\n");
        return 2;
    }
    // The hook owns the session that it is given; from here on the program uses the hook in its
    // place, and all else is as without one.
    CSessionHook instrument(new uxvisa::VisaSession);
    if (instrument.OpenConnection(argv[1], VI_NO_LOCK, 0) != VI_SUCCESS) {
        std::fprintf(stderr, "measure: cannot open %s\n", argv[1]);
        return 1;
    }
    instrument.SetAttribute(VI_ATTR_TERMCHAR_EN, VI_TRUE);
    instrument.SetAttribute(VI_ATTR_TMO_VALUE, 2000);
    for (int i = 2; i < argc; ++i) {
        std::string answer;
        if (!Ask(instrument, argv[i], answer)) {
            std::fprintf(stderr, "measure: no answer to %s\n", argv[i]);
            return 1;
        }
        std::fputs(answer.c_str(), stdout);
    }
    instrument.CloseConnection();
    return 0;
}
