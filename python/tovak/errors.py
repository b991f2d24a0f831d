"""The exception every failed lookup raises."""


class Error(Exception):
    """A lookup answered a non-zero status.

    Attributes: ``function`` (the library function that answered), ``status``
    (its negative status code, or the remote server's status) and ``meaning``
    (one line saying what the status means, as ``tovak`` the tool prints it).
    """

    def __init__(self, function, status, meaning):
        super().__init__(f"{function} returned {status}: {meaning}")
        self.function = function
        self.status = status
        self.meaning = meaning
