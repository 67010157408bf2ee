# Writes nodes, elements and sets of the bracket to standard output: awk -f mesh.awk > mesh.inp
#
# A strip of 20-node bricks runs down the wall, through a quarter circle, and out along the shelf;
# a thinner pad of another material lies on the end of the shelf. Grid point (i, j, k) counts half
# elements along the strip, across it, and through its thickness from the outer side.
#
# With -v coarse=1 the mesh has 16 bricks. coarse.frd is its solution, with two modes and no strains:
#   awk -v coarse=1 -f mesh.awk >mesh.inp
#   sed 's/^S, E$/S/; s/^6$/2/' bracket.inp >coarse.inp && ccx -i coarse

function node(i, j, k) { return 1 + i + 100 * j + 10000 * k }

# A brick has nodes at its corners and in the middle of its edges only.
function is_used(i, j, k) { return i % 2 + j % 2 + k % 2 < 2 && (k <= strip_k || i >= pad_i) }

function place(i, j, k,    depth, angle) {
    depth = k <= strip_k ? thickness * (1 - k / strip_k) : -pad_thickness * (k - strip_k) / 2
    if (i <= wall_i) {
        x = -depth
        z = radius + wall_length * (1 - i / wall_i)
    } else if (i <= wall_i + bend_i) {
        angle = pi / 2 * (i - wall_i) / bend_i
        x = radius - (radius + depth) * cos(angle)
        z = radius - (radius + depth) * sin(angle)
    } else {
        x = radius + shelf_length * (i - wall_i - bend_i) / shelf_i
        z = -depth
    }
    y = width * j / strip_j
}

function print_brick(id, i, j, k) {
    printf "%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,\n", id,
        node(i, j, k), node(i + 2, j, k), node(i + 2, j + 2, k), node(i, j + 2, k),
        node(i, j, k + 2), node(i + 2, j, k + 2), node(i + 2, j + 2, k + 2), node(i, j + 2, k + 2),
        node(i + 1, j, k), node(i + 2, j + 1, k)
    printf "%d,%d,%d,%d,%d,%d,%d,%d,%d,%d\n",
        node(i + 1, j + 2, k), node(i, j + 1, k),
        node(i + 1, j, k + 2), node(i + 2, j + 1, k + 2), node(i + 1, j + 2, k + 2),
        node(i, j + 1, k + 2),
        node(i, j, k + 1), node(i + 2, j, k + 1), node(i + 2, j + 2, k + 1), node(i, j + 2, k + 1)
}

function print_bricks(set, first_i, first_k, last_k,    i, j, k) {
    print "*ELEMENT, TYPE=C3D20R, ELSET=" set
    for (k = first_k; k < last_k; k += 2)
        for (j = 0; j < strip_j; j += 2)
            for (i = first_i; i < strip_i; i += 2)
                print_brick(++bricks, i, j, k)
}

BEGIN {
    pi = atan2(0, -1)
    wall_length = 60; shelf_length = 90; radius = 12; thickness = 6; pad_thickness = 4; width = 40
    wall_i = 20; bend_i = 12; shelf_i = 30                       # half elements
    strip_j = 16; strip_k = 4; pad_length_i = 12
    if (coarse) {
        wall_i = 4; bend_i = 4; shelf_i = 6; strip_j = 4; strip_k = 2; pad_length_i = 2
    }
    strip_i = wall_i + bend_i + shelf_i
    pad_i = strip_i - pad_length_i; pad_k = strip_k + 2

    print "*NODE, NSET=ALL"
    for (k = 0; k <= pad_k; ++k)
        for (j = 0; j <= strip_j; ++j)
            for (i = 0; i <= strip_i; ++i)
                if (is_used(i, j, k)) {
                    place(i, j, k)
                    printf "%d,%.8g,%.8g,%.8g\n", node(i, j, k), x, y, z
                }
    print_bricks("STRIP", 0, 0, strip_k)
    print_bricks("PAD", pad_i, strip_k, pad_k)

    print "*NSET, NSET=BOLTED"
    for (j = 0; j <= strip_j; ++j)
        for (i = 0; i <= 8; ++i)
            if (is_used(i, j, 0))
                print node(i, j, 0)
    print "*NSET, NSET=EDGE"
    for (j = 0; j <= strip_j; ++j)
        print node(strip_i, j, 0)
}
