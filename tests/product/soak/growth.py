"""Whether a figure that was sampled over some time grows."""


def slope(points):
    """Of the straight line that lies nearest to the points."""
    count = len(points)
    middle = sum(x for x, _ in points) / count
    mean = sum(y for _, y in points) / count
    spread = sum((x - middle) ** 2 for x, _ in points)
    return sum((x - middle) * (y - mean) for x, y in points) / spread if spread else 0.0


def growth(points, settling=0.3):
    """By how much the figure has grown on the straight line, without its first part, in which
    caches fill; and over how long. None for too few points."""
    if len(points) < 2:
        return None
    first, last = points[0][0], points[-1][0]
    late = [point for point in points if point[0] >= first + settling * (last - first)]
    if len(late) < 5:
        return None
    span = late[-1][0] - late[0][0]
    return slope(late) * span, span
