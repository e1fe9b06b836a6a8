"""Splines, random streams and tridiagonal systems, with SciPy's and NumPy's words."""
