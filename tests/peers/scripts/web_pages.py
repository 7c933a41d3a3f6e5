#!/usr/bin/python3
"""Serves a folder on 127.0.0.1 for the web source tests.

   web_pages.py PORT FOLDER

Besides the folder's files, /never answers with headers and a first chunk of
HTML and then never finishes the page, for tests of pages that never load.
"""
import http.server
import sys
import time


class Handler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *args):
        pass

    def do_GET(self):
        if self.path.startswith("/never"):
            self.send_response(200)
            self.send_header("Content-Type", "text/html")
            self.end_headers()
            self.wfile.write(b"<!doctype html><html><body style='background:#00ff00'>")
            self.wfile.flush()
            time.sleep(3600)
            return
        super().do_GET()


def main():
    port, folder = int(sys.argv[1]), sys.argv[2]
    handler = lambda *args: Handler(*args, directory=folder)
    http.server.ThreadingHTTPServer.daemon_threads = True
    http.server.ThreadingHTTPServer(("127.0.0.1", port), handler).serve_forever()


if __name__ == "__main__":
    main()
