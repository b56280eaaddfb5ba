"""view: how often clients may ask. It takes the whole machine."""
import http.client
import time

from viewing import ViewTest


class Rates(ViewTest):
    def test_nobody_may_ask_too_often(self):
        server = self.serve()

        def hammer(seconds, **headers):
            """Asks all the time: how many were answered, and after what time those that were too many may ask again."""
            answered, again, end = 0, set(), time.monotonic() + seconds
            connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=20)
            self.addCleanup(connection.close)
            while time.monotonic() < end:
                connection.request("GET", "/icon.svg", headers=headers)
                answer = connection.getresponse()
                answer.read()
                if answer.status == 429:
                    again.add(answer.headers["Retry-After"])
                else:
                    answered += 1
            return answered, again
        began = time.monotonic()
        answered, again = hammer(2)
        self.assertIn(answered, range(100, int(101 + 10 * (time.monotonic() - began))))
        self.assertEqual(again, {"1"})
        # Whoever is let in is another one.
        self.assertEqual(server.send("GET", "/api/cameras")[0], 200)
        began = time.monotonic()
        answered, again = hammer(4, Cookie=server.cookie)
        most = 2001 + 1000 * (time.monotonic() - began)
        self.assertLess(answered, most)
        self.assertLessEqual(again, {"1"})
