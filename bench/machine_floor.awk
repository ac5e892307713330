# The run in a brivel-machine-sim log, from its first "AGxxxxx" to its last
# "ZGxxxxx" on the chip's clock (held to the wall clock with --realtime),
# against its physical floor from the frames the chip received: the
# console's mandated waits, the motors' time at the durations sent, the
# punch's clutch and revolution (35 ms a cycle), and 8 bytes a frame at
# 57600 baud. The origin search's travel is left out of the floor.
$2 == ">" && substr($3, 1, 2) == "AG" && !start { start = $1 }
$2 == ">" && substr($3, 1, 2) == "ZG" { stop = $1 }
$2 == ">" && substr($3, 1, 2) == "PX" { px = substr($3, 3, 5) + 0 }
$2 == ">" && substr($3, 1, 2) == "PY" { py = substr($3, 3, 5) + 0 }
$2 == ">" && start { f = substr($3, 1, 2); n = substr($3, 3, 5) + 0; frames++
            if (f == "AG") floor += 250; else if (f == "ZG") floor += 25
            else if (f ~ /^[Mm][Xx]$/) floor += 25 + n * px / 1000
            else if (f ~ /^M[Yy]$/) floor += 25 + n * py / 1000
            else if (f == "ON") floor += 500; else if (f ~ /^[Oo]R$/) floor += 225
            else if (f ~ /^[Cc]Z$/) floor += 35 }
/^HOLE / { holes++ }
/LOST/ { lost++ }
END { floor += frames * 8 * 10 / 57.6; wall = (stop - start) / 1000
      printf "Trous mesurés aux broches du circuit simulé : %d (octets perdus : %d)\n", holes, lost
      printf "Coût de la perforation : %.1f s contre un plancher physique de %.1f s, soit %.3f\n",
             wall, floor / 1000, wall / (floor / 1000) }
