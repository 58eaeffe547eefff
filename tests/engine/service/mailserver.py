"""A mail server on loopback. What it does with a message is up to the recipient's name:
"refused" and "refuseddata" are refused, "cut" ends the connection; any other is accepted into the
given folder. Prints its port.

usage: mailserver.py FOLDER [ADDRESS]
"""
import asyncio
import os
import sys

from aiosmtpd.smtp import SMTP


class Handler:
    def __init__(self, folder):
        self.folder = folder
        self.count = 0

    async def handle_RCPT(self, server, session, envelope, address, options):
        if address.startswith("refused@"):
            return "550 No such mailbox"
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        if envelope.rcpt_tos[0].startswith("cut@"):
            server.transport.abort()
            return "250 nobody reads this"
        if envelope.rcpt_tos[0].startswith("refuseddata@"):
            return "554 Not this message"
        self.count += 1
        part = os.path.join(self.folder, "part")
        with open(part, "wb") as file:
            file.write(envelope.original_content)
        os.rename(part, os.path.join(self.folder, f"{self.count}.eml"))
        return "250 Taken"


async def main():
    loop = asyncio.get_running_loop()
    handler = Handler(sys.argv[1])
    address = sys.argv[2] if len(sys.argv) > 2 else "127.0.0.1"
    server = await loop.create_server(lambda: SMTP(handler, loop=loop), address, 0)
    print(server.sockets[0].getsockname()[1], flush=True)
    await server.serve_forever()


asyncio.run(main())
