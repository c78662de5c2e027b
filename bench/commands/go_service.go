// A peer: a service in Go that installs and controls itself, always in the System V form.
package main

import (
	"log"
	"os"
	"path/filepath"

	"github.com/kardianos/service"
)

type idle struct{}

func (idle) Start(service.Service) error { return nil }
func (idle) Stop(service.Service) error  { return nil }

func newService() (service.Service, error) {
	config := &service.Config{Name: "go_service", DisplayName: "Go service", Description: "Does nothing."}
	for _, system := range service.AvailableSystems() {
		if system.String() == "unix-systemv" {
			return system.New(idle{}, config)
		}
	}
	return nil, service.ErrNoServiceSystemDetected
}

// Does what the package leaves to its users: it stops the service and removes the links in the run levels. The
// package's uninstall only removes the script.
func remove(daemon service.Service) error {
	if err := daemon.Stop(); err != nil {
		return err
	}
	links, err := filepath.Glob("/etc/rc?.d/[KS][0-9][0-9]go_service")
	if err != nil {
		return err
	}
	for _, link := range links {
		if err := os.Remove(link); err != nil {
			return err
		}
	}
	return daemon.Uninstall()
}

func perform(daemon service.Service, command string) error {
	switch command {
	case "remove":
		return remove(daemon)
	case "status":
		_, err := daemon.Status()
		return err
	}
	return service.Control(daemon, command)
}

func main() {
	daemon, err := newService()
	if err != nil {
		log.Fatal(err)
	}
	if len(os.Args) > 1 {
		err = perform(daemon, os.Args[1])
	} else {
		err = daemon.Run()
	}
	if err != nil {
		log.Fatal(err)
	}
}
