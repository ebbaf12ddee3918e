"""What the link leaves in the agent's log: its lines taken apart, and what its operations write."""

from __future__ import annotations

import re
from collections.abc import Iterable
from dataclasses import dataclass

from desktop import Process
from product import Product

SUCCESS = 0x20FF0000
FAILURE = 0xE0FF0001
INVALID_PARAMETER = 0xE0FF0007
NOT_FOUND = 0xE0FF000E
NO_ENGINE = 0xE0FF001D
NO_SUCH_ENGINE = 0xE0FF0002
UNKNOWN_CLIENT = 0xE0010803

_HEAD = re.compile(
    r"^\d\d/\d\d/\d{4} [\d:.]{12} ([0-9a-f]+):([0-9a-f]+) (?:\.w\.|@@@|!!!|\?\?\?) <QxSessionAgent> ", re.M
)
_TAIL = re.compile(r"(?:^| )- (\w+)\(\d+\)\n?\Z", re.M)
_SOURCES = ("OuterClientHelper", "MailHelper", "CallbackHelper", "LinkLibrary", "ShellExecution", "UiLaunch")


def signed(status: int) -> int:
    return status - (1 << 32) if status & 0x80000000 else status


@dataclass(frozen=True)
class Entry:
    """One statement of the log; the text may have several lines."""

    process: int
    thread: int
    text: str
    source: str


def entries(product: Product, process: Process, sources: Iterable[str] = _SOURCES) -> list[Entry]:
    """The statements of one process that come from the link."""
    pieces = _HEAD.split(product.log_text().replace("\r\n", "\n"))[1:]
    found = []
    for number, thread, rest in zip(pieces[::3], pieces[1::3], pieces[2::3]):
        tail = _TAIL.search(rest)
        if tail and int(number, 16) == process.number and tail[1] in sources:
            found.append(Entry(int(number, 16), int(thread, 16), rest[: tail.start()], tail[1]))
    return found


def texts(found: Iterable[Entry]) -> list[str]:
    return [entry.text for entry in found]


def without_traces(found: Iterable[Entry]) -> list[str]:
    """The lines that are no function's beginning or end."""
    return [entry.text for entry in found if not entry.text.startswith("[INFO],[")]


# What a line holds behind its head

_TAG = "OuterClientHelper"


def info(text: str, tag: str = _TAG) -> str:
    return f"{tag}: [INFO] {text}"


def warn(text: str, tag: str = _TAG) -> str:
    return f"{tag}: [WARN] {text}"


def error(text: str, tag: str = _TAG) -> str:
    return f"{tag}: [ERROR] {text}"


def trace(name: str, *inside: str, tag: str = "") -> list[str]:
    return [f"[INFO],[{tag}], ==> {name}", *inside, f"[INFO],[{tag}], <== {name}"]


def helper_trace(name: str, *inside: str) -> list[str]:
    return trace(f"CVzRpcClientHelper::{name}", *inside, tag=_TAG)


# The sequences

RECONNECT = info("Reconnect the RPC...")
NO_RESULT = error("get parameter ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT failed")
NO_PARAMETER = error("get parameter ID_DATA_PRODUCTADAPTER_PACKER_PARAM failed")
AGAIN = warn("not register yet. register this client helper to service now. nProductID=0")


def failed(status: int) -> str:
    return error(f"executing command failed, err={signed(status)}")


def no_message(index: int) -> str:
    return error(f"get parameter param_index failed, param_index={index}")


def no_text(status: int) -> str:
    return error(f"get parameter ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING failed, err={signed(status)}")


def parsed(result: int) -> str:
    return info(f"after invoking ParseJsonString, ret={result}")


def sending(process: int, thread: int) -> str:
    return info(f"SendMail2ProductPlugin from outer process, process id={process}, thread id={thread}")


def mail(
    process: int, thread: int, message: list[str] | None = None, text: list[str] | None = None, last: int = 0
) -> list[str]:
    """A mail in its three forms; `message` and `text` are what those two forms add. Negative `last`: no reply
    is parsed."""
    name = "SendMail2ProductPlugin"
    inner = helper_trace(name, sending(process, thread), *(message or []))
    middle = helper_trace(name, *inner, *(text or []))
    return helper_trace(name, *middle, *([parsed(last)] if last >= 0 else []))


def event(number: int, session: int, process: int, thread: int) -> list[str]:
    request = info(f'{{\n   "eventId" : {number},\n   "winSessionId" : {session}\n}}\n', "")
    return trace("SendEventToEventCenter", request, *mail(process, thread))


def manager_end(erased: int | None) -> list[str]:
    """The end of the client manager; `erased` is what the service said to the end of the callbacks, None if
    there was no registration."""
    erase = f"EraseAllCallbackOfTrackingID, result={signed(erased or 0)}"
    return helper_trace(
        "UninitProduct",
        *(helper_trace("EraseAllCallbackOfTrackingID", info(erase)) if erased is not None else []),
        *helper_trace("DestroyContext"),
        error(f"DestroyContext fail, err={signed(INVALID_PARAMETER)}"),
        error(f"UninitProduct fail, err={signed(INVALID_PARAMETER)}"),
    )


# The thread of a registration


def registrations(found: list[Entry]) -> list[list[Entry]]:
    """What the thread of each registration wrote, in the order of the registrations."""
    begin = helper_trace("ReconnectProc")[0]
    runs: list[list[Entry]] = []
    latest: dict[int, list[Entry]] = {}  # the number of a thread that has ended may come again
    for entry in found:
        if entry.text == begin:
            latest[entry.thread] = []
            runs.append(latest[entry.thread])
        if entry.thread in latest:
            latest[entry.thread].append(entry)
    return runs


def assert_reconnected(found: list[Entry]) -> None:
    """The thread saw the service's end and registered again, with as many attempts as it took, and wrote not
    a line more. What the service said to the end of the callbacks is left open."""
    erased = r"(EraseAllCallbackOfTrackingID, result=)-?\d+"
    lines = [re.sub(erased, r"\g<1>0", line) for line in texts(found)]
    first, last = helper_trace("ReconnectProc")
    begin = [first, *mail(found[0].process, found[0].thread), RECONNECT]
    end = [*_attempt(), last]
    assert lines[: len(begin)] == begin
    assert lines[-len(end) :] == end
    between = lines[len(begin) : -len(end)]
    refusals = [line for line in between if "executing command failed, err=" in line]
    assert between == [line for refusal in refusals for line in _attempt(refusal)]


def _attempt(*refusal: str) -> list[str]:
    return [*manager_end(0), *helper_trace("InitProduct"), *helper_trace("RegisterProcess", *refusal)]


# What the frame's handlers write


def session_change(state: int, *inside: str, session: int = 1) -> list[str]:
    line = info(f"Session Changed... SessionState: {state}, SessionId: {session}", "")
    return trace("CMainFrame::OnSessionChange", line, *inside)


def lost_event(number: int, session: int) -> list[str]:
    """An event without a client to send it."""
    request = info(f'{{\n   "eventId" : {number},\n   "winSessionId" : {session}\n}}\n', "")
    return [*trace("SendEventToEventCenter", request), error(f"Send event failed...EventId={number}", "")]


def registration(*inside: str) -> list[str]:
    return trace(
        "RegisterRPC",
        *helper_trace("CVzRpcClientHelper", *helper_trace("InitProduct")),
        *helper_trace("RegisterProcess", *inside),
    )


def end_of_registration() -> list[str]:
    client = helper_trace("~CVzRpcClientHelper", *manager_end(SUCCESS))
    return trace("UnRegisterRPC", *helper_trace("UnregisterProcess"), *client)


def power_event(kind: int, *inside: str) -> list[str]:
    return [info(f"SERVICE_CONTROL_POWEREVENT triggered, EventType = {kind}", ""), *inside]


def power_failure(status: int) -> str:
    return error(f"Failed to handle power event. Error Code = 0x{status:08x}", "")
