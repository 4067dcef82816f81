#!/usr/bin/env python3
"""A small HTTPS server on 127.0.0.1 for update-check tests.

Answers GET requests from a routes file that the test rewrites between checks
(read again on every request), and appends every request path to a log file.
Prints its port on standard output once it listens.

routes.json: {"/path": {"status": 200, "body": "text", "body_file": "path",
                        "headers": {"Location": "..."}, "chunked": false,
                        "stall_after": 0, "stall_seconds": 0}}
With stall_seconds, the answer stops for that long after its first stall_after
bytes of body (-1: before the status line), as a stalled server or network would.
With --headers-log, each request's headers are appended there as one JSON line.
"""
import argparse
import http.server
import json
import ssl
import sys
import time


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, format, *args):
        pass

    def do_GET(self):
        with open(self.server.log_path, "a") as log:
            log.write(self.path + "\n")
        if self.server.headers_log:
            with open(self.server.headers_log, "a") as log:
                log.write(json.dumps({"path": self.path, "headers": [[k, v] for k, v in self.headers.items()]})
                          + "\n")
        try:
            with open(self.server.routes_path) as f:
                routes = json.load(f)
        except (OSError, ValueError):
            routes = {}
        route = routes.get(self.path)
        if route is None:
            route = {"status": 404, "body": "not found"}
        body = route.get("body", "").encode("utf-8")
        if "body_file" in route:
            with open(route["body_file"], "rb") as f:
                body = f.read()
        chunked = route.get("chunked", False)
        stall_after = route.get("stall_after", 0)
        stall_seconds = route.get("stall_seconds", 0)
        if stall_seconds and stall_after < 0:
            time.sleep(stall_seconds)
            stall_seconds = 0
        self.send_response(route.get("status", 200))
        for name, value in route.get("headers", {}).items():
            self.send_header(name, value)
        if chunked:
            self.send_header("Transfer-Encoding", "chunked")
        else:
            self.send_header("Content-Length", str(len(body)))
        self.send_header("Connection", "close")
        self.end_headers()
        try:
            if chunked:
                for start in range(0, len(body), 4096):
                    piece = body[start:start + 4096]
                    self.wfile.write(b"%x\r\n%s\r\n" % (len(piece), piece))
                self.wfile.write(b"0\r\n\r\n")
            elif stall_seconds:
                self.wfile.write(body[:stall_after])
                self.wfile.flush()
                time.sleep(stall_seconds)
                self.wfile.write(body[stall_after:])
            else:
                self.wfile.write(body)
        except (BrokenPipeError, ConnectionResetError, ssl.SSLError):
            pass  # the client stopped reading, as it may
        self.close_connection = True


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--cert", required=True)
    parser.add_argument("--key", required=True)
    parser.add_argument("--routes", required=True)
    parser.add_argument("--log", required=True)
    parser.add_argument("--headers-log")
    args = parser.parse_args()

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    server.daemon_threads = True
    server.routes_path = args.routes
    server.log_path = args.log
    server.headers_log = args.headers_log
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(args.cert, args.key)
    server.socket = context.wrap_socket(server.socket, server_side=True)
    print(server.server_address[1], flush=True)
    # The test closes our standard input when it is done; stop then too.
    import threading
    threading.Thread(target=lambda: (sys.stdin.read(), server.shutdown()), daemon=True).start()
    server.serve_forever()


if __name__ == "__main__":
    main()
