// A stand-in for a desktop session that contains one program and can end the session.
//
//     stand_in_session
//
// The first line of standard output is the value for the variable SESSION_MANAGER. Each line of
// standard input is a command: "end" asks the program to save its state, as at the end of a
// session, and "die" asks it to exit. Standard output reports "joined" when the program has joined
// the session, "saved" when it has answered "end", and "gone" when it has left the session, which
// also ends this process.

#include <X11/ICE/ICElib.h>
#include <X11/ICE/ICEutil.h>
#include <X11/SM/SMlib.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <poll.h>
#include <unistd.h>

namespace {

SmsConn program = nullptr;
bool isJoining = true;

void tell(const char *word)
{
    std::puts(word);
    std::fflush(stdout);
}

Status onRegister(SmsConn connection, SmPointer, char *previous)
{
    // If its previous ID is rejected, the program registers again and asks for a new one.
    if (previous)
        return 0;
    char *id = SmsGenerateClientID(connection);
    SmsRegisterClientReply(connection, id);
    program = connection;
    // The protocol (XSMP) asks every new program to save its state once.
    SmsSaveYourself(connection, SmSaveLocal, False, SmInteractStyleNone, False);
    return 1;
}

void onSaved(SmsConn connection, SmPointer, Bool)
{
    SmsSaveComplete(connection);
    tell(isJoining ? "joined" : "saved");
    isJoining = false;
}

void onInteract(SmsConn connection, SmPointer, int)
{
    SmsInteract(connection);
}

void onInteracted(SmsConn, SmPointer, Bool) {}

void onSaveRequest(SmsConn, SmPointer, int, Bool, int, Bool, Bool) {}

void onSecondPhase(SmsConn connection, SmPointer)
{
    SmsSaveYourselfPhase2(connection);
}

void onClosed(SmsConn connection, SmPointer, int count, char **reasons)
{
    SmFreeReasons(count, reasons);
    auto *const ice = SmsGetIceConnection(connection);
    SmsCleanUp(connection);
    IceSetShutdownNegotiation(ice, False);
    IceCloseConnection(ice);
    tell("gone");
    std::exit(0);
}

void onProperties(SmsConn, SmPointer, int count, SmProp **properties)
{
    for (int index = 0; index < count; ++index)
        SmFreeProperty(properties[index]);
    std::free(properties);
}

void onDeletedProperties(SmsConn, SmPointer, int count, char **names)
{
    for (int index = 0; index < count; ++index)
        std::free(names[index]);
    std::free(names);
}

void onAskedProperties(SmsConn connection, SmPointer)
{
    SmsReturnProperties(connection, 0, nullptr);
}

Status onNewProgram(SmsConn, SmPointer, unsigned long *mask, SmsCallbacks *callbacks, char **)
{
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
            SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask |
            SmsSaveYourselfDoneProcMask | SmsCloseConnectionProcMask | SmsSetPropertiesProcMask |
            SmsDeletePropertiesProcMask | SmsGetPropertiesProcMask;
    callbacks->register_client = {onRegister, nullptr};
    callbacks->interact_request = {onInteract, nullptr};
    callbacks->interact_done = {onInteracted, nullptr};
    callbacks->save_yourself_request = {onSaveRequest, nullptr};
    callbacks->save_yourself_phase2_request = {onSecondPhase, nullptr};
    callbacks->save_yourself_done = {onSaved, nullptr};
    callbacks->close_connection = {onClosed, nullptr};
    callbacks->set_properties = {onProperties, nullptr};
    callbacks->delete_properties = {onDeletedProperties, nullptr};
    callbacks->get_properties = {onAskedProperties, nullptr};
    return 1;
}

Bool everybodyMayJoin(char *)
{
    return True;
}

void onLostConnection(IceConn)
{
    tell("gone");
    std::exit(0);
}

/// Carries out the next command. Returns false at the end of standard input.
bool obey()
{
    std::array<char, 64> order = {};
    if (!std::fgets(order.data(), order.size(), stdin))
        return false;
    if (program && std::strcmp(order.data(), "end\n") == 0)
        SmsSaveYourself(program, SmSaveBoth, True, SmInteractStyleAny, False);
    if (program && std::strcmp(order.data(), "die\n") == 0)
        SmsDie(program);
    if (program)
        IceFlush(SmsGetIceConnection(program));
    return true;
}

} // namespace

int main()
{
    std::array<char, 256> error = {};
    const int errorSize = static_cast<int>(error.size());
    char vendor[] = "Kavo";
    char release[] = "1";
    int count = 0;
    IceListenObj *listeners = nullptr;
    IceSetIOErrorHandler(onLostConnection);
    if (!SmsInitialize(vendor, release, onNewProgram, nullptr, everybodyMayJoin, errorSize,
                       error.data()) ||
        !IceListenForConnections(&count, &listeners, errorSize, error.data())) {
        std::fprintf(stderr, "%s\n", error.data());
        return 1;
    }
    for (int index = 0; index < count; ++index)
        IceSetHostBasedAuthProc(listeners[index], everybodyMayJoin);
    tell(IceComposeNetworkIdList(count, listeners));

    IceConn connection = nullptr;
    while (true) {
        pollfd orders = {STDIN_FILENO, POLLIN, 0};
        std::array<pollfd, 8> waiting = {orders};
        nfds_t used = 1;
        if (connection)
            waiting[used++] = {IceConnectionNumber(connection), POLLIN, 0};
        for (int index = 0; !connection && index < count && used < waiting.size(); ++index)
            waiting[used++] = {IceGetListenConnectionNumber(listeners[index]), POLLIN, 0};
        if (::poll(waiting.data(), used, -1) < 0)
            return 1;
        if (waiting[0].revents != 0 && !obey())
            return 0;
        if (connection && waiting[1].revents != 0)
            IceProcessMessages(connection, nullptr, nullptr);
        for (nfds_t index = 1; !connection && index < used; ++index) {
            IceAcceptStatus status = IceAcceptFailure;
            if (waiting[index].revents != 0)
                connection = IceAcceptConnection(listeners[index - 1], &status);
        }
    }
}
