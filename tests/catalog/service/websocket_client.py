#!/usr/bin/python3
"""Talks to a WebSocket by another implementation of it.

websocket_client.py URL [AUTHORITY [CERTIFICATE KEY]]

Sends messages all at once, collects the answers, and prints what it has seen, one fact a line.
"""

import asyncio
import ssl
import sys

import websockets


async def main(url, files):
    context = None
    if files:
        context = ssl.create_default_context(cafile=files[0])
        if len(files) == 3:
            context.load_cert_chain(files[1], files[2])
    headers = {"X-Access-Key": "python"}
    async with websockets.connect(url, ssl=context, extra_headers=headers, max_size=None) as socket:
        for number in range(100):
            await socket.send(f"echo {number}")
        answers = {await socket.recv() for number in range(100)}
        print("answers", answers == {f"python echo {number}" for number in range(100)})

        await socket.send("x" * 3_000_000)
        print("long", await socket.recv())

        await socket.send(["echo ", "in ", "pieces \u00e4\u20ac"])
        print("pieces", await socket.recv())

        await socket.send("stream 100 100000")
        print("stream", len(await socket.recv()))

        await asyncio.wait_for(await socket.ping(), 20)
        print("pong")

        await socket.send(b"binary")
        try:
            await socket.recv()
        except websockets.ConnectionClosed:
            print("closed", socket.close_code)


asyncio.run(main(sys.argv[1], sys.argv[2:]))
