"""Python log handlers, called from C++ threads, and the text converters."""

import threading

import pytest

import gravok
import _gravok_testing as testing


def test_handler_called_from_several_cpp_threads():
    entries = []
    threads = set()

    def handler(level, message, file, line, function):
        threads.add(threading.get_ident())
        entries.append((level, message, file, line))

    handler_id = gravok.Log.RegisterHandler(handler, gravok.Log.Level.info)
    try:
        testing.log_from_threads(4, 250)
    finally:
        gravok.Log.UnregisterCallback(handler_id)
    assert len(entries) == 1000
    assert threading.get_ident() not in threads  # called on the C++ threads themselves
    assert all(e[0] == gravok.Log.Level.info and e[2].endswith(".cpp") and e[3] > 0
               for e in entries)
    for t in range(4):
        mine = [int(m.split()[-1]) for _, m, _, _ in entries if m.startswith(f"thread {t} ")]
        assert mine == list(range(250))


def test_a_raising_handler_is_reported_not_propagated(monkeypatch):
    reported = []
    monkeypatch.setattr("sys.unraisablehook", lambda u: reported.append(u.exc_type))

    def handler(*entry):
        raise RuntimeError("handler failed")

    handler_id = gravok.Log.RegisterHandler(handler, gravok.Log.Level.warn)
    try:
        gravok.Log.Add(gravok.Log.Level.error, "caf\u00e9", "f.py", 3, "test")
        testing.log_from_threads(2, 1)  # info: below the handler's level
    finally:
        gravok.Log.UnregisterCallback(handler_id)
    assert reported == [RuntimeError]


@pytest.mark.parametrize("text, utf8", [
    ("", b""),
    ("caf\u00e9", b"caf\xc3\xa9"),
    ("\U0001F600", b"\xed\xa0\xbd\xed\xb8\x80"),   # two units, each by itself
    ("a\x00b", b"a"),                              # a NUL ends the text
    ("\ud800", b"\xed\xa0\x80"),                   # a lone surrogate survives
])
def test_text_conversion(text, utf8):
    assert gravok.to_utf8(text) == utf8
    assert gravok.from_utf8(utf8) == text.split("\x00")[0]
