"""Draws from one source in many ways, for the tests of random streams and of quasi-random points."""

from hypothesis import strategies as st


def steps(ways, most):
    """Lists of up to 6 steps, each a way to move on and by how much."""
    return st.lists(st.tuples(st.sampled_from(ways), st.integers(0, most)), max_size=6)
