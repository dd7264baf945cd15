"""A stand-in for the session manager of an X desktop: prints the address under which a program finds
it, and for each line on standard input tells the program that has registered to save its work because
the session ends.

libSM and libICE are the desktop's own; <X11/SM/SMlib.h> names the constants.
"""

import ctypes
import select
import sys

ICE, SM = ctypes.CDLL("libICE.so.6"), ctypes.CDLL("libSM.so.6")
SAVE_BOTH, INTERACT_NONE = 2, 0
POINTER, INT = ctypes.c_void_p, ctypes.c_int
ICE.IceComposeNetworkIdList.restype = ICE.IceAcceptConnection.restype = POINTER
REGISTER, ANY = ctypes.CFUNCTYPE(INT, POINTER, POINTER, POINTER), ctypes.CFUNCTYPE(None)
clients = []


class Callbacks(ctypes.Structure):
    """SmsCallbacks: ten pairs of a procedure and its data."""
    _fields_ = [("pairs", POINTER * 20)]


@REGISTER
def register(client, _data, _previous):
    SM.SmsRegisterClientReply(POINTER(client), ctypes.create_string_buffer(b"1"))
    clients.append(client)
    return 1


@ANY
def ignore():
    pass


@ctypes.CFUNCTYPE(INT, POINTER, POINTER, ctypes.POINTER(ctypes.c_ulong), POINTER, POINTER)
def new_client(_client, _data, mask, callbacks, _reason):
    mask[0] = 0x3FF
    pairs = (POINTER * 20).from_address(callbacks)
    for i in range(0, 20, 2):
        pairs[i] = ctypes.cast(register if i == 0 else ignore, POINTER)
    return 1


@ctypes.CFUNCTYPE(INT, ctypes.c_char_p)
def let_in(_host):
    return 1


def main():
    error = ctypes.create_string_buffer(256)
    SM.SmsInitialize(b"tests", b"1", new_client, None, let_in, 256, error)
    count, listeners = INT(), POINTER()
    if not ICE.IceListenForConnections(ctypes.byref(count), ctypes.byref(listeners), 256, error):
        sys.exit(error.value.decode())
    addresses = ICE.IceComposeNetworkIdList(count, listeners)
    print(ctypes.string_at(addresses).decode(), flush=True)
    listener = {ICE.IceGetListenConnectionNumber(POINTER(one)): one
                for one in (POINTER * count.value).from_address(listeners.value)}
    connections = {}
    while True:
        ready, _, _ = select.select([sys.stdin, *listener, *connections], [], [])
        for source in ready:
            if source is sys.stdin:
                if not sys.stdin.readline():
                    return
                for client in clients:
                    SM.SmsSaveYourself(POINTER(client), SAVE_BOTH, 1, INTERACT_NONE, 0)
            elif source in listener:
                status = INT()
                ICE.IceSetHostBasedAuthProc(POINTER(listener[source]), let_in)
                made = ICE.IceAcceptConnection(POINTER(listener[source]), ctypes.byref(status))
                connections[ICE.IceConnectionNumber(POINTER(made))] = made
            elif ICE.IceProcessMessages(POINTER(connections[source]), None, None) == 1:
                del connections[source]


main()
