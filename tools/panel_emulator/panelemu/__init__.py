"""The front panel's display process, played off the router against tavio.

exchange: the router environment (root, stand-in programs) and one tavio run per exchange.
panel:    the panel itself: menus, cursor, values it polls, selections, sign-in, its grid.
terminal, bridge: the two faces of the same panel (curses, and a page in a browser).
"""
